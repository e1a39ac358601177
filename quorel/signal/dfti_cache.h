#pragma once
// The descriptor cache: committed transform descriptors keyed by lengths and flags, most recently
// used first, so that repeated transforms of one shape plan once.

#include <cstdint>
#include <cstddef>
#include <cstring>
#include <initializer_list>

#include "quorel/objects/vec.h"

namespace quorel {

enum TCacheEntryFlag : std::uint8_t {
  cefReal,
  cefInplace,
  cefUseScale,
  cefUse1D,
  cefDoubleDistance,
  cefBackward,
  cefScrambled,
  cefPack,
  cefPerm
};

/// A set of TCacheEntryFlag, one bit per ordinal.
class TCacheEntryFlags {
 public:
  constexpr TCacheEntryFlags() = default;
  /// The set holding the given flags.
  constexpr TCacheEntryFlags(std::initializer_list<TCacheEntryFlag> flags) {
    for (auto f : flags) Include(f);
  }
  /// The set whose bit i is flag i (bits above the last flag are dropped).
  static constexpr TCacheEntryFlags FromBits(std::uint16_t bits) {
    TCacheEntryFlags r;
    r.bits_ = bits & 0x1FF;
    return r;
  }
  /// One bit per flag, bit i for ordinal i.
  constexpr std::uint16_t Bits() const { return bits_; }
  /// True when f is in the set.
  constexpr bool Has(TCacheEntryFlag f) const { return (bits_ >> f) & 1u; }
  /// Adds f.
  constexpr TCacheEntryFlags& Include(TCacheEntryFlag f) {
    bits_ = static_cast<std::uint16_t>(bits_ | (1u << f));
    return *this;
  }
  /// Removes f.
  constexpr TCacheEntryFlags& Exclude(TCacheEntryFlag f) {
    bits_ = static_cast<std::uint16_t>(bits_ & ~(1u << f));
    return *this;
  }
  /// Adds f when on, removes it otherwise.
  constexpr TCacheEntryFlags& Set(TCacheEntryFlag f, bool on) { return on ? Include(f) : Exclude(f); }
  /// The flags also in `mask`.
  constexpr TCacheEntryFlags operator*(TCacheEntryFlags mask) const { return FromBits(bits_ & mask.bits_); }
  /// Same flags.
  constexpr bool operator==(const TCacheEntryFlags&) const = default;

 private:
  std::uint16_t bits_ = 0;
};

/// A committed descriptor (opaque; its configuration and plans live in the signal module).
struct TDftiDescriptor;
using TDftiHandle = TDftiDescriptor*;

/// One cached descriptor; entries form a singly linked chain, most recently used first.
class TCacheEntry {
 public:
  /// The committed descriptor.
  TDftiHandle Descriptor = nullptr;
  /// First length of the transform.
  std::int32_t Length1 = 0;
  /// Second length: 0 for a plain 1-D transform, else the row length or column count.
  std::int32_t Length2 = 0;
  /// Flags the descriptor was made with.
  TCacheEntryFlags Flags;
  /// Next entry of the chain (less recently used), or null.
  TCacheEntry* Next = nullptr;
};

/// The process-wide cache of committed descriptors (see DftiCache). Not thread-safe.
class TDFTIDescriptorCache {
 public:
  /// An empty chain of at most 15 entries, and the scratch vector.
  TDFTIDescriptorCache();
  /// Frees the scratch vector, then every descriptor.
  ~TDFTIDescriptorCache();
  TDFTIDescriptorCache(const TDFTIDescriptorCache&) = delete;
  TDFTIDescriptorCache& operator=(const TDFTIDescriptorCache&) = delete;

  /// The committed descriptor for the shape and flags, from the cache or newly made at its head.
  /// Length2 is 0 for a plain 1-D transform, else the row length (batch) or column count (2-D).
  TDftiHandle FindOrCreateDscr(std::int32_t length1, std::int32_t length2, TCacheEntryFlags flags) {
    // Repeated transforms of one shape hit the head: one 8-byte and one 2-byte compare.
    if (Chain != nullptr && Chain->Flags == NormalisedFlags(length2, flags) && SameLengths(*Chain, length1, length2))
      return Chain->Descriptor;
    return FindOrCreateBehindHead(length1, length2, flags);
  }
  /// The descriptor of a 1-D transform of the given length.
  TDftiHandle GetDesc(std::int32_t length, TCacheEntryFlags flags) { return FindOrCreateDscr(length, 0, flags); }
  /// The descriptor of a 2-D or batched transform.
  TDftiHandle GetDesc(std::int32_t length1, std::int32_t length2, TCacheEntryFlags flags) {
    return FindOrCreateDscr(length1, length2, flags);
  }
  /// Frees every descriptor from `entry` on and the entries; entry becomes null.
  void RemoveChain(TCacheEntry*& entry);
  /// Frees the descriptor and its entry; raises when no entry holds it.
  void RemoveDscr(TDftiHandle descriptor);
  /// Empties the cache.
  void Reset() { RemoveChain(Chain); }
  /// Largest number of entries kept.
  std::int32_t MaxCacheSize() const { return fMaxCacheSize; }
  /// Keeps at most `value` (>= 1) entries, the most recently used ones.
  void SetMaxCacheSize(std::int32_t value);
  /// Number of entries in the chain.
  std::int32_t Count() const;
  /// The flags a key is stored under: the direction stays only where it changes the layout (real
  /// out-of-place CCS batches and 2-D) or the ordering.
  static constexpr TCacheEntryFlags NormalisedFlags(std::int32_t length2, TCacheEntryFlags flags) {
    if (flags.Has(cefScrambled)) return flags;
    if (length2 != 0 && flags * TCacheEntryFlags{cefReal, cefInplace, cefPack, cefPerm} == TCacheEntryFlags{cefReal})
      return flags;
    return flags.Exclude(cefBackward);
  }

  /// Head of the chain (most recently used entry), or null when empty.
  TCacheEntry* Chain = nullptr;
  /// Three integers through which a descriptor's lengths reach the planner.
  TVec Scratch;

 private:
  static bool SameLengths(const TCacheEntry& e, std::int32_t length1, std::int32_t length2) {
    static_assert(offsetof(TCacheEntry, Length2) == offsetof(TCacheEntry, Length1) + sizeof(std::int32_t));
    std::uint64_t stored, wanted;
    const std::int32_t key[2] = {length1, length2};
    std::memcpy(&stored, &e.Length1, sizeof stored);
    std::memcpy(&wanted, key, sizeof wanted);
    return stored == wanted;
  }
  TDftiHandle FindOrCreateBehindHead(std::int32_t length1, std::int32_t length2, TCacheEntryFlags flags);

  std::int32_t fMaxCacheSize = 15;
};

namespace header_detail {
/// The one cache, or null until first use and after FreeDftiCache.
extern TDFTIDescriptorCache* dfti_cache;
/// Makes the one cache (DftiCache's slow path).
TDFTIDescriptorCache& CreateDftiCache();
}  // namespace header_detail

/// The one cache, created on first use.
inline TDFTIDescriptorCache& DftiCache() {
  return header_detail::dfti_cache ? *header_detail::dfti_cache : header_detail::CreateDftiCache();
}
/// Frees the cache and all its descriptors; the next DftiCache() builds a fresh one.
void FreeDftiCache();

}  // namespace quorel
