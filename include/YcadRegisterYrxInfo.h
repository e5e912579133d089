// A registered application together with its command groups (it owns them;
// the newest group comes first).
#pragma once
#include "YcadAppInfo.h"

class YcRxGenericCollection;
class YcRxIterator;
class YcadYrxRegCmdGroup;
class YcadYrxRegCommand;

class KMRX_API YcadRegisterYrxInfo : public YcadAppInfo {
public:
  YCRX_DECLARE_MEMBERS(YcadRegisterYrxInfo);

  // group may be null.
  YcadRegisterYrxInfo(const wchar_t* appName, const wchar_t* moduleName, const wchar_t* description,
                      YcadApp::LoadReasons reasons, YcadYrxRegCmdGroup* group);
  ~YcadRegisterYrxInfo() override;

  // The first group from the front of that name (case ignored); null for a null or empty name.
  virtual YcadYrxRegCmdGroup* findGroupByName(const wchar_t* name) const;
  // The command, by global name first and then by local name, in the groups of
  // that name (every group when group is null).
  virtual YcadYrxRegCommand* findCommandByName(const wchar_t* group, const wchar_t* command) const;

  void insertGroup(YcadYrxRegCmdGroup* group);
  // Takes over other's groups, merging those of a name held already. This
  // record's own fields stay.
  void combineYrxInfo(YcadRegisterYrxInfo* other);
  YcadYrxRegCmdGroup* removeFrontGroup();
  void removeAllGroups();
  YcRxIterator* newIterator() const;

private:
  YcRxGenericCollection* mpGroups;
};
