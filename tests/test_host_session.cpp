// Drives the real yrxhost through sessions and checks what it prints.
#include <gtest/gtest.h>
#include <sys/wait.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>
#include <utility>

#if defined(KMRX_HOST_BINARY) && defined(KMRX_EXAMPLES_DIR) && defined(KMRX_EXAMPLE_MODULE_DIR)

namespace {

// Runs a shell command line; returns everything it printed, and its wait status in status.
std::string capture(const std::string& command, int& status) {
  std::string out;
  status = -1;
  if (std::FILE* pipe = popen(command.c_str(), "r")) {
    char buffer[4096];
    while (std::fgets(buffer, sizeof(buffer), pipe)) out += buffer;
    status = pclose(pipe);
  }
  return out;
}

// Runs the host with the example stores and modules plus extra arguments,
// feeding input on stdin; returns everything it printed.
std::string runHost(const std::string& args, const std::string& input = "") {
  const std::string inputFile = testing::TempDir() + "host-input.txt";
  std::ofstream(inputFile) << input;
  const std::string command = std::string(KMRX_HOST_BINARY) + " --examples " + KMRX_EXAMPLES_DIR +
                              " --module-path " + KMRX_EXAMPLE_MODULE_DIR + " --log " +
                              testing::TempDir() + "host.log " + args + " < " + inputFile + " 2>&1";
  int status = 0;
  const std::string out = capture(command, status);
  if (status != -1) {
    EXPECT_EQ(0, status) << out;
  }
  return out;
}

// Asserts that each needle occurs in text, in the order given.
void expectInOrder(const std::string& text, std::initializer_list<const char*> needles) {
  size_t at = 0;
  for (const char* needle : needles) {
    const size_t found = text.find(needle, at);
    ASSERT_NE(std::string::npos, found) << "missing, or out of order: \"" << needle << "\"\n" << text;
    at = found + 1;
  }
}

std::size_t count(const std::string& text, const std::string& needle) {
  std::size_t n = 0;
  for (std::size_t at = text.find(needle); at != std::string::npos; at = text.find(needle, at + 1)) ++n;
  return n;
}

}  // namespace

TEST(HostSession, DemoShowsDemandLoadingClassTreeDependencyCountingAndUnloading) {
  const std::string out = runHost("--demo");
  expectInOrder(out, {"yrx> modules", "units.yrx            1", "hello.yrx",
                      "Loading the application Shapes for the command AREA",
                      "ExShape   [shapes.yrx]", "    ExCircle   [shapes.yrx]",
                      "units.yrx            2",
                      "The module units.yrx is in use by 1 dependent module(s)",
                      "Unloaded shapes.yrx.", "Unloaded units.yrx.",
                      "yrx /", "units.yrx unload"});
  EXPECT_EQ(std::string::npos, out.find("runtime error")) << out;
}

TEST(HostSession, BadInputIsReportedAndTheHostGoesOn) {
  const std::string out = runHost("", "NOSUCHCOMMAND\nload nothere.yrx\nunload hello\nload hello.yrx\nhelp unload\nmodules\n");
  expectInOrder(out, {"Unknown command: NOSUCHCOMMAND",
                      "The module nothere.yrx was not found here or on the module path",
                      "The module hello is not loaded.",
                      "is already loaded",
                      "unload <module>",
                      "hello.yrx            1"});
}

TEST(HostSession, MalformedStoresAreReportedByFileAndLineAndTheRestIsRead) {
  const std::string dir = testing::TempDir() + "bad-stores";
  std::system(("mkdir -p " + dir).c_str());
  std::ofstream(dir + "/config.reg")
      << "[Applications\\Shapes]\n\"LOADER\"=\"shapes.yrx\"\n\"LOADCTRLS\"=dword:zz\nthis line is wrong\n"
         "\"LOADCTRLS\"=dword:0000002c\n[Applications\\Shapes\\Groups]\n\"SHAPES\"=\"\"\n"
         "[Applications\\Shapes\\Commands]\n\"SHAPES\"=\"shapes\"\n";
  const std::string out = runHost("--store-dir " + dir, "apps\nSHAPES\n");
  expectInOrder(out, {"config.reg:3:", "config.reg:4:", "Shapes  shapes.yrx",
                      "Loading the application Shapes for the command SHAPES", "ExCircle"});
}

TEST(HostSession, CommandOptionsRunInOrderAndAWrongOptionStopsTheHost) {
  expectInOrder(runHost("-c 'help unload' --command modules", "NOTREAD\n"),
                {"unload <module>", "hello.yrx            1"});
  const std::pair<const char*, const char*> wrong[] = {
      {"--bogus -c modules", "yrxhost: unknown option --bogus (try --help)\n"},
      {"--module-path", "yrxhost: --module-path needs a value\n"},
      {"--echo -c", "yrxhost: -c needs a value\n"}};
  for (const auto& [args, message] : wrong) {
    int status = 0;
    EXPECT_EQ(message, capture(std::string(KMRX_HOST_BINARY) + " " + args + " 2>&1", status));
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 2) << args;
  }
}

TEST(HostSession, EndOfInputUnloadsEverythingAndExitsCleanly) {
  const std::string out = runHost("", "AREA square 2 cm\n");
  expectInOrder(out, {"Loading the application Shapes", "square"});
  const std::string log = [] {
    std::ifstream in(testing::TempDir() + "host.log");
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
  }();
  expectInOrder(log, {"shapes.yrx load success", "shapes.yrx unload", "units.yrx unload"});
}

TEST(HostSession, ALongLineRunsWholeOrNotAtAllNeverAsTwoCommands) {
  // Over the 4 KiB a line once had: one command, its tail no command of its own.
  const std::string longName(5000, 'Q');
  const std::string out = runHost("", "help " + longName + "\n" + std::string(70000, 'R') + "\nmodules\n");
  EXPECT_EQ(1u, count(out, "No command named QQQ"));
  EXPECT_EQ(0u, count(out, "No command named " + std::string(8, 'R')));
  const std::size_t refused =
      out.find("Line 2 is 70000 bytes long, more than the 65536 a command line may have; none of it was run.");
  ASSERT_NE(std::string::npos, refused);
  EXPECT_NE(std::string::npos, out.find("hello.yrx", refused)) << "the next line runs";
}

TEST(HostSession, TheLogKeepsItsLastThousandLinesAndSaysWhereTheRestAre) {
  std::string input;
  for (int i = 0; i < 600; ++i) input += "unload hello.yrx\nload hello.yrx\n";
  const std::string out = runHost("", input + "log\n");
  const std::size_t shown = out.find("earlier lines are only in the log file");
  ASSERT_NE(std::string::npos, shown);
  EXPECT_EQ(0u, count(out.substr(shown), "units.yrx load success")) << "the first lines went";
  EXPECT_EQ(1000u, count(out.substr(shown), "\n  yrx "));
}

TEST(HostSession, AModuleWhoseNameIsNotUtf8LoadsByThatName) {
  const std::string dir = testing::TempDir() + "host-bytes";
  const std::string module = dir + "/hel\xe9lo.yrx";  // Latin-1, not UTF-8
  std::filesystem::create_directories(dir);
  std::filesystem::copy_file(std::string(KMRX_EXAMPLE_MODULE_DIR) + "/hello.yrx", module,
                             std::filesystem::copy_options::overwrite_existing);
  const std::string out = runHost("", "load " + module + "\nmodules\n");
  expectInOrder(out, {"hel\xe9lo.yrx", "hel\xe9lo.yrx"});
  EXPECT_EQ(0u, count(out, "not found")) << out;
}

#endif
