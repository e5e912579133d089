// A named command group of a registered application. It owns its commands;
// the newest command comes first.
#pragma once
#include <cstdint>
#include "YcRxMacros.h"
#include "YcRxObject.h"

class YcRxGenericCollection;
class YcRxIterator;
class YcadYrxRegCommand;

class KMRX_API YcadYrxRegCmdGroup : public YcRxObject {
public:
  YCRX_DECLARE_MEMBERS(YcadYrxRegCmdGroup);

  explicit YcadYrxRegCmdGroup(const wchar_t* name);
  ~YcadYrxRegCmdGroup() override;
  YcadYrxRegCmdGroup(const YcadYrxRegCmdGroup&) = delete;
  YcadYrxRegCmdGroup& operator=(const YcadYrxRegCmdGroup&) = delete;

  // Adds at the front, without looking for duplicates.
  void insertCommand(YcadYrxRegCommand* command);
  // The first command, from the front, whose global (or, with global false,
  // local) name equals name without regard to case. The int is not used.
  bool lookupCmd(const wchar_t* name, bool global, int, YcadYrxRegCommand*& out) const;
  // Deletes the first command of that global name (case ignored).
  void removeCommand(const wchar_t* name);
  void removeAllCommands();
  // Unlinks the front command and hands it over (the count stays as it is).
  YcadYrxRegCommand* removeFrontCommand();
  // Takes over other's commands; on a global name held already, the one held wins.
  void combineGroup(YcadYrxRegCmdGroup* other);

  std::uint16_t count() const { return mCount; }
  const wchar_t* name() const { return mpName; }
  YcRxIterator* newIterator() const;

private:
  wchar_t* mpName;
  YcRxGenericCollection* mpCommands;
  std::uint16_t mCount;
};
