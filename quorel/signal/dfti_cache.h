#pragma once
// The descriptor cache: committed transform descriptors keyed by lengths and flags, most recently
// used first, so that repeated transforms of one shape plan once.

#include <cstdint>
#include <initializer_list>

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
  TDFTIDescriptorCache();
  ~TDFTIDescriptorCache();
  TDFTIDescriptorCache(const TDFTIDescriptorCache&) = delete;
  TDFTIDescriptorCache& operator=(const TDFTIDescriptorCache&) = delete;

  /// The committed descriptor for the shape and flags, from the cache or newly made at its head.
  /// Length2 is 0 for a plain 1-D transform, else the row length (batch) or column count (2-D).
  TDftiHandle FindOrCreateDscr(std::int32_t length1, std::int32_t length2, TCacheEntryFlags flags);
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

  /// Head of the chain (most recently used entry), or null when empty.
  TCacheEntry* Chain = nullptr;

 private:
  std::int32_t fMaxCacheSize = 15;
};

/// The one cache, created on first use.
TDFTIDescriptorCache& DftiCache();
/// Frees the cache and all its descriptors; the next DftiCache() builds a fresh one.
void FreeDftiCache();

}  // namespace quorel
