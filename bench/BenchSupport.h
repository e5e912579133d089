// Shared by the benchmark sources: the host the runtime needs for module
// loading, the registration entry of each group, and small helpers.
#pragma once
#include <string>
#include <vector>

#include <benchmark/benchmark.h>

#include "KmRx.h"

// Finds a module only by the absolute path it is given; says nothing.
class BenchHost : public YcDbHostApplicationServices, public YcadHostApplication {
public:
  Ycad::ErrorStatus findFile(wchar_t* out, int outLength, const wchar_t* name, YcDbDatabase* db,
                             FindFileHint hint) override;
  void displayString(const wchar_t*, int) override {}
  YcadHostApplication* application() override { return this; }
  bool acceptsNonMdiAwareModules() override { return true; }
  void resumeMultiDocument() override {}
  bool getVariable(const wchar_t*, YcadVariableBuffer&) override { return false; }
};

// Group names are "<group>/<case>/<implementation>"; implementations of ours
// start with "KmRx", the rest are the peers they are compared with.
void registerClassBenchmarks();
void registerContainerBenchmarks();
void registerExtensionBenchmarks();
void registerLinkerBenchmarks();
void registerDemandLoadBenchmarks();
void registerGlibBenchmarks();  // does nothing without GLib
// Registration and service look-up with the classes there are at first; then
// class look-up and registration at 10,000 or 100,000 classes (filler classes
// are registered first).
void registerScaleBenchmarks();
void registerScaleBenchmarksAt(int scale);
void benchGrowClassesTo(int scale);
// The fillers registered when the class dictionary reached scale (none
// before), and the 1,024 names the look-up rows at that size probe.
std::size_t benchFillersAt(int scale);
std::vector<std::string> benchFillerNames(int scale);
std::vector<std::string> benchProbesAt(int scale);
// Load and unload of a module with scale classes registered.
void registerLinkerBenchmarksAt(int scale);

// A registered descriptor or, when registration failed, a note and exit.
YcRxClass* benchNewClass(const std::wstring& name, const wchar_t* parentName);
std::wstring benchWiden(const char* text);
// count names: stem followed by 00000, 00001, ...
std::vector<std::wstring> benchNames(const wchar_t* stem, int count);
