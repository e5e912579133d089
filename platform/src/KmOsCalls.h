// Internal to the platform layer: the only way to the OS. Each wrapper counts
// its call under its own kind, fails it when a test armed that kind (with the
// failure value and errno noted in KmRxTesting.h), and otherwise calls the
// table's entry. Code outside KmOsCalls.cpp never touches the table itself.
#pragma once
#include <cstddef>

void* kmOsAlloc(std::size_t bytes);
void kmOsRelease(void* block);

void* kmOsOpenModule(const char* path, const char** error);
void* kmOsFindModule(const char* path);
void* kmOsFindSymbol(void* handle, const char* name);
int kmOsCloseModule(void* handle);
const char* kmOsModulePath(void* handle);
const char* kmOsAddressModulePath(const void* address);
long kmOsProgramPath(char* buffer, std::size_t size);

int kmOsFileAccess(const char* path, int mode);
int kmOsIsRegularFile(const char* path);
int kmOsFileStatus(void* file, int* type, long long* size);
char* kmOsCurrentDirectory(char* buffer, std::size_t size);
int kmOsChangeDirectory(const char* path);
void* kmOsOpenFile(const char* path, const char* mode);
long long kmOsReadFile(void* buffer, std::size_t bytes, void* file);
int kmOsCloseFile(void* file);

long kmOsWrite(int descriptor, const void* bytes, std::size_t count);
int kmOsIsTerminal(int descriptor);
const char* kmOsEnvironmentVariable(const char* name);
int kmOsFileType(const char* path);
long long kmOsReadFileAt(void* file, long long offset, void* buffer, std::size_t bytes);
int kmOsModuleRanges(void* handle, const void** ranges, int max);
