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
// Registration and service look-up at scale; the late rows after the class trees.
void registerScaleBenchmarks();
void registerLateScaleBenchmarks();
// Load/unload again once the class trees of the extension group exist.
void registerLateLinkerBenchmarks();

// Builds the extension group's class trees (1,000 and 10,000 classes) if
// they do not exist yet; returns the number of classes registered then.
unsigned int benchEnsureClassTrees();

// A registered descriptor or, when registration failed, a note and exit.
YcRxClass* benchNewClass(const std::wstring& name, const wchar_t* parentName);
std::wstring benchWiden(const char* text);
// count names: stem followed by 00000, 00001, ...
std::vector<std::wstring> benchNames(const wchar_t* stem, int count);
