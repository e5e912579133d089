// Helpers of the store, application-record, list-reader and start-up tests:
// a temporary directory for store and list files, a recorder for the stores'
// diagnostics, and guards that put the current directory and the C locale back.
#pragma once
#include <gtest/gtest.h>

#include <clocale>
#include <filesystem>
#include <fstream>
#include <random>
#include <string>
#include <vector>

#include "KmRx.h"

// A fresh directory under the system's temporary directory, removed with
// everything in it when the object goes.
class TempDir {
public:
  TempDir() {
    namespace fs = std::filesystem;
    std::random_device seed;
    std::mt19937 random(seed());
    for (int attempt = 0; attempt < 100 && mPath.empty(); ++attempt) {
      fs::path candidate = fs::temp_directory_path() / ("kmrx-store-" + std::to_string(random()));
      std::error_code error;
      if (fs::create_directory(candidate, error)) mPath = candidate;
    }
    EXPECT_FALSE(mPath.empty()) << "no temporary directory";
  }
  ~TempDir() {
    std::error_code error;
    if (!mPath.empty()) std::filesystem::remove_all(mPath, error);
  }
  TempDir(const TempDir&) = delete;
  TempDir& operator=(const TempDir&) = delete;

  const std::filesystem::path& path() const { return mPath; }
  std::wstring wpath() const { return mPath.wstring(); }
  // name is UTF-8; decoded here, since the path's own conversion follows the locale.
  std::wstring file(const std::string& name) const {
    std::wstring wide;
    for (std::size_t i = 0; i < name.size(); ++i) {
      const unsigned char c = static_cast<unsigned char>(name[i]);
      if (c >= 0xC0 && c < 0xE0 && i + 1 < name.size())
        wide += static_cast<wchar_t>(((c & 0x1F) << 6) | (name[++i] & 0x3F));
      else
        wide += static_cast<wchar_t>(c);
    }
    return wpath() + L"/" + wide;
  }

  // Writes bytes as they stand (no line-end translation); returns the full path.
  std::wstring write(const std::string& name, const std::string& bytes) const {
    std::ofstream out(mPath / name, std::ios::binary | std::ios::trunc);
    out << bytes;
    EXPECT_TRUE(out.good()) << name;
    return file(name);
  }

private:
  std::filesystem::path mPath;
};

// Collects the stores' diagnostics while alive.
class DiagnosticsRecorder {
public:
  DiagnosticsRecorder() { kmStoreSetDiagnosticSink(&DiagnosticsRecorder::sink, this); }
  ~DiagnosticsRecorder() { kmStoreSetDiagnosticSink(nullptr, nullptr); }
  DiagnosticsRecorder(const DiagnosticsRecorder&) = delete;
  DiagnosticsRecorder& operator=(const DiagnosticsRecorder&) = delete;

  std::vector<std::wstring> messages;

private:
  static void sink(const wchar_t* message, void* context) {
    static_cast<DiagnosticsRecorder*>(context)->messages.emplace_back(message);
  }
};

// Changes into dir for the guard's life.
class CurrentDirGuard {
public:
  explicit CurrentDirGuard(const std::filesystem::path& dir)
      : mPrevious(std::filesystem::current_path()) {
    std::filesystem::current_path(dir);
  }
  ~CurrentDirGuard() {
    std::error_code error;
    std::filesystem::current_path(mPrevious, error);
  }
  CurrentDirGuard(const CurrentDirGuard&) = delete;
  CurrentDirGuard& operator=(const CurrentDirGuard&) = delete;

private:
  std::filesystem::path mPrevious;
};

// The list reader switches the C library's character type to UTF-8; other
// tests should not run in a locale they did not choose.
class CtypeLocaleGuard {
public:
  CtypeLocaleGuard() {
    const char* current = std::setlocale(LC_CTYPE, nullptr);
    mPrevious = current ? current : "C";
  }
  ~CtypeLocaleGuard() { std::setlocale(LC_CTYPE, mPrevious.c_str()); }
  CtypeLocaleGuard(const CtypeLocaleGuard&) = delete;
  CtypeLocaleGuard& operator=(const CtypeLocaleGuard&) = delete;

private:
  std::string mPrevious;
};

// Opens the configuration file written from text; fails the test if it cannot.
inline void openConfig(const TempDir& dir, const std::string& text) {
  ASSERT_TRUE(kmStoreOpenConfigFile(dir.write("config.reg", text).c_str()));
}

inline std::string utf8(const std::wstring& text) {
  std::string out;
  for (wchar_t c : text) out += static_cast<char>(c);  // the tests' paths are ASCII
  return out;
}
