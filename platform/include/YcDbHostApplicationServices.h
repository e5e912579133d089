// What the runtime asks of the host: file search, messages, the application
// object (module being loaded, variables, log, multi-document state),
// remote files, product key and locale. The host derives and hands one over.
#pragma once
#include "KmErrorStatus.h"
#include "KmRxExport.h"

class YcRxDynLoadModuleProxy;
class YcDbDatabase;

// The host's log.
class KMRX_API YcadHostLog {
public:
  virtual void log(const wchar_t* text, int category, int level, int flags) = 0;
  virtual ~YcadHostLog();
};

// Value of a host variable; the runtime reads only 16-bit integers.
struct YcadVariableBuffer {
  enum Type : int { kNone = 0, kShort = 1 };
  int type = kNone;
  short shortValue = 0;
};

// The host's application (editor) object. The first two operations keep
// their slots: modules compiled against this header call them by position.
class KMRX_API YcadHostApplication {
public:
  // Whether a module that is not MDI aware may stay loaded now.
  virtual bool acceptsNonMdiAwareModules() = 0;
  // Lets the host go back to multi-document work once no such module is left.
  virtual void resumeMultiDocument() = 0;
  // Records the module whose messages are being delivered; returns the previous one.
  virtual YcRxDynLoadModuleProxy* setModuleBeingLoaded(YcRxDynLoadModuleProxy* module);
  virtual YcRxDynLoadModuleProxy* moduleBeingLoaded() const;
  // Reads a host variable; returns false when the host has no such variable.
  virtual bool getVariable(const wchar_t* name, YcadVariableBuffer& value);
  virtual YcadHostLog* logObject();
  virtual ~YcadHostApplication();

private:
  YcRxDynLoadModuleProxy* mModuleBeingLoaded = nullptr;
};

class KMRX_API YcDbHostApplicationServices {
public:
  enum FindFileHint : int { kDefault = 0, kModuleFile = 7 };

  // Writes the full path of a file found for name into out; eOk when found.
  virtual Ycad::ErrorStatus findFile(wchar_t* out, int outLength, const wchar_t* name,
                                     YcDbDatabase* database = nullptr,
                                     FindFileHint hint = kDefault) = 0;
  // Shows a message to the user.
  virtual void displayString(const wchar_t* text, int length) = 0;
  virtual YcadHostApplication* application();
  virtual bool isURL(const wchar_t* name);
  // Copies a remote file to a local one; eRemoteFetched or eRemoteCached on success.
  virtual Ycad::ErrorStatus getRemoteFile(const wchar_t* url, wchar_t* localFile, int length,
                                          bool ignoreCache);
  virtual const wchar_t* productKey();
  virtual unsigned int productLcid();
  virtual ~YcDbHostApplicationServices();
};

// Installs the host's services object (null withdraws it); returns the previous one.
KMRX_API YcDbHostApplicationServices* ycdbSetHostApplicationServices(
    YcDbHostApplicationServices* services);
KMRX_API YcDbHostApplicationServices* ycdbHostApplicationServices();
