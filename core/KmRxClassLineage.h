// Each descriptor's line of ancestors, kept in front of it in the same
// allocation (the descriptor's operator new makes room), so that a type check
// is one compare: B derives from A exactly when A's depth is within B's and
// B's ancestor at that depth is A. The parent-link setter keeps every line
// current; a line that could not be kept (no memory, no descriptor of ours)
// says so, and the check walks the parents instead.
#pragma once
#include <cstddef>
#include <cstdint>

class YcRxClass;
class YcRxClassImp;

struct alignas(16) KmRxClassLineage {
  static constexpr std::uint32_t kMagic = 0x4C696E65u;  // marks a descriptor allocated with a line
  std::uint32_t magic;
  // Ancestors above the class, so chain[depth] is the class; -1: not known.
  int depth;
  int capacity;
  // The relink pass that last reached this class, so a pass visits each once.
  std::uint32_t visited;
  // chain[0] is the top of the class's tree, chain[depth] the class itself.
  const YcRxClass** chain;
};

// The line of a descriptor, or null when it was not allocated with one.
inline KmRxClassLineage* kmrxLineageOf(const YcRxClass* cls) {
  auto* line = reinterpret_cast<KmRxClassLineage*>(const_cast<char*>(reinterpret_cast<const char*>(cls))) - 1;
  return line->magic == KmRxClassLineage::kMagic ? line : nullptr;
}

// Whether derived derives from base, through the lines; 1 yes, 0 no, -1 when
// either line is not known.
inline int kmrxDerivesByLineage(const YcRxClass* derived, const YcRxClass* base) {
  const KmRxClassLineage* mine = kmrxLineageOf(derived);
  const KmRxClassLineage* theirs = kmrxLineageOf(base);
  if (!mine || !theirs || mine->depth < 0 || theirs->depth < 0) return -1;
  return theirs->depth <= mine->depth && mine->chain[theirs->depth] == base;
}

// Deeper than any class tree: a walk up the parents stops here, so parents
// linked in a loop (A names B, B names A) end it.
constexpr int kMaxClassDepth = 4096;

// Recomputes the line of cls and of every class below it.
void kmrxRelinkLineage(YcRxClassImp* cls);
// Allocation with the line in front, and its release.
void* kmrxNewWithLineage(std::size_t size) noexcept;
void kmrxDeleteWithLineage(void* object) noexcept;
