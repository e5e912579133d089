// Internal: reads the text of a store file (format in KmStores.h) into a tree.
// Pure: no files, no global state, so it can be fuzzed on its own.
#pragma once
#include <cstddef>
#include <string>

#include "KmStoreTree.h"

enum class KmStoreFlavour { kCurrentUser, kLocalMachine, kConfiguration };

constexpr std::size_t kKmStoreMaxLineBytes = 8192;
constexpr std::size_t kKmStoreMaxDepth = 128;

// Told about each line that is skipped: its number (from 1) and why.
typedef void (*KmStoreProblemFn)(void* context, int line, const std::wstring& problem);

// Adds what data holds to root; returns the number of problems reported.
// For the configuration flavour root's children are the paths ("Applications").
int kmParseStoreText(const char* data, std::size_t size, KmStoreFlavour flavour, KmStoreNode& root,
                     KmStoreProblemFn report, void* context);
