// Any bytes must read as a store file in each flavour without fault, every
// problem must be reported, and the tree built must hold together.
#include <cstddef>
#include <cstdint>
#include <string>

#include "KmStoreFile.h"

namespace {

void countProblem(void* context, int line, const std::wstring& problem) {
  if (line < 1 || problem.empty()) __builtin_trap();
  ++*static_cast<int*>(context);
}

// Each child and value is found again under its own name; depth stays bounded.
void check(const KmStoreNode& node, std::size_t depth) {
  if (depth > kKmStoreMaxDepth) __builtin_trap();
  for (const auto& child : node.children()) {
    if (child->name().empty() || node.child(child->name()) != child.get()) __builtin_trap();
    check(*child, depth + 1);
  }
  for (const KmStoreValue& value : node.values()) {
    if (node.value(value.name) != &value) __builtin_trap();
    if (value.type != KmStoreValue::kDWord && value.type != KmStoreValue::kString) __builtin_trap();
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const KmStoreFlavour flavours[] = {KmStoreFlavour::kCurrentUser, KmStoreFlavour::kLocalMachine,
                                     KmStoreFlavour::kConfiguration};
  for (KmStoreFlavour flavour : flavours) {
    const bool config = flavour == KmStoreFlavour::kConfiguration;
    KmStoreNode root(L"", !config);
    int reported = 0;
    const int problems = kmParseStoreText(reinterpret_cast<const char*>(data), size, flavour, root,
                                          &countProblem, &reported);
    if (problems != reported) __builtin_trap();
    check(root, 0);
    // The configuration file has one path; nothing sits on its root.
    if (config && (root.children().size() > 1 || !root.values().empty())) __builtin_trap();
  }
  return 0;
}
