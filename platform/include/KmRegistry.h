// Read access to the registry-style store under the names the runtime is
// written against: keys below two roots, the current user's and the
// machine's, each kept in a text file (see KmStores.h). Key names are matched
// without regard to ASCII case; "\" separates the keys of a path.
#pragma once
#include <cstdint>
#include "KmKernel32.h"  // DWORD
#include "KmRxExport.h"

struct KmRegKey;
typedef KmRegKey* HKEY;
typedef std::int32_t LONG;
typedef DWORD REGSAM;

struct FILETIME {
  DWORD dwLowDateTime;
  DWORD dwHighDateTime;
};

// The two roots are fixed handles; closing them does nothing.
#define HKEY_CURRENT_USER (reinterpret_cast<HKEY>(static_cast<std::uintptr_t>(0x80000001u)))
#define HKEY_LOCAL_MACHINE (reinterpret_cast<HKEY>(static_cast<std::uintptr_t>(0x80000002u)))

enum : REGSAM {
  KEY_QUERY_VALUE = 0x0001,
  KEY_SET_VALUE = 0x0002,
  KEY_CREATE_SUB_KEY = 0x0004,
  KEY_ENUMERATE_SUB_KEYS = 0x0008,
  KEY_NOTIFY = 0x0010,
  KEY_READ = 0x20019,
};

enum : LONG {
  ERROR_SUCCESS = 0,
  ERROR_FILE_NOT_FOUND = 2,
  ERROR_ACCESS_DENIED = 5,
  ERROR_INVALID_HANDLE = 6,
  ERROR_INVALID_PARAMETER = 87,
  ERROR_MORE_DATA = 234,
  ERROR_NO_MORE_ITEMS = 259,
};

// Opens subKey (a "\"-separated path; null or empty opens key itself) below
// key. Only read access is granted: any write right gives ERROR_ACCESS_DENIED.
KMRX_API LONG RegOpenKeyExW(HKEY key, const wchar_t* subKey, DWORD options, REGSAM sam,
                            HKEY* result);
// Facts about an open key; every out-pointer may be null. Lengths of names
// are in characters without the terminator, lengths of values in bytes.
// Keys have no class, security descriptor or write time (all come back 0).
KMRX_API LONG RegQueryInfoKeyW(HKEY key, wchar_t* className, DWORD* classNameLength,
                               DWORD* reserved, DWORD* subKeys, DWORD* maxSubKeyLength,
                               DWORD* maxClassLength, DWORD* values, DWORD* maxValueNameLength,
                               DWORD* maxValueLength, DWORD* securityDescriptorLength,
                               FILETIME* lastWriteTime);
// Name of the index-th subkey (in the order the file lists them) into name,
// which holds nameLength characters with the terminator.
KMRX_API LONG RegEnumKeyW(HKEY key, DWORD index, wchar_t* name, DWORD nameLength);
KMRX_API LONG RegCloseKey(HKEY key);
