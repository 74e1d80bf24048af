// Allocation of converter objects: a per-thread cache of freed blocks in
// front of the general heap.
//
// Converters are small (a vtable pointer and at most a range of five numbers)
// and come and go in bursts: every value check clones the 53 converters of
// the catalogue and frees them again. Freed blocks are kept on the freeing
// thread, by size in steps of 16 bytes, and handed out again before the
// general heap is asked. A block taken on one thread and freed on another
// simply moves to the other thread's cache; each cache keeps a bounded number
// of blocks and returns the rest, and all of them when its thread ends.

#include "AvoObjectModel/KnxConverter.h"

#include <new>

// Under AddressSanitizer every converter comes from the general heap, so
// that a use after free of a converter is still reported.
#if defined(__SANITIZE_ADDRESS__)
#define AVO_CONVERTER_BLOCK_CACHE 0
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define AVO_CONVERTER_BLOCK_CACHE 0
#endif
#endif
#ifndef AVO_CONVERTER_BLOCK_CACHE
#define AVO_CONVERTER_BLOCK_CACHE 1
#endif

namespace Avo {
#if AVO_CONVERTER_BLOCK_CACHE
namespace {

constexpr std::size_t kSizeStep = 16;
constexpr std::size_t kSizeClasses = 4; // blocks of 16, 32, 48 and 64 bytes
// More than one catalogue needs of any one size, so that a check's clones all
// come back to the cache when the check ends.
constexpr unsigned int kBlocksKeptPerSize = 64;

struct FreeBlock {
  FreeBlock* next;
};

// Trivially destructible, so that it can be used at any time of the thread's
// life, also after the closer below has run. A full count keeps a size class
// from caching more blocks; a closed cache counts every class as full.
struct FreeBlocks {
  FreeBlock* first[kSizeClasses];
  unsigned int count[kSizeClasses];
  bool closerRegistered;
};

// Initial-exec: the cache is reached with one thread-pointer-relative load
// rather than a call to the dynamic linker's TLS lookup, which would cost
// as much as the rest of an allocation. The cache is a few dozen bytes of
// the static TLS area.
thread_local FreeBlocks t_freeBlocks __attribute__((tls_model("initial-exec"))){};

// Returns the thread's cached blocks to the heap when the thread ends; from
// then on, blocks freed on the thread go to the heap directly.
struct FreeBlocksCloser {
  FreeBlocksCloser() = default;
  FreeBlocksCloser(const FreeBlocksCloser&) = delete;
  FreeBlocksCloser& operator=(const FreeBlocksCloser&) = delete;
  ~FreeBlocksCloser() {
    FreeBlocks& blocks = t_freeBlocks;
    for (std::size_t sizeClass = 0; sizeClass < kSizeClasses; ++sizeClass) {
      while (FreeBlock* block = blocks.first[sizeClass]) {
        blocks.first[sizeClass] = block->next;
        ::operator delete(block);
      }
      blocks.count[sizeClass] = kBlocksKeptPerSize;
    }
  }
};

thread_local FreeBlocksCloser t_freeBlocksCloser;

// Constructs the thread's closer, which registers its destructor for the
// thread's end; done once per thread, before the thread keeps its first block.
[[gnu::noinline]] void RegisterCloser(FreeBlocks& blocks) {
  static_cast<void>(&t_freeBlocksCloser);
  blocks.closerRegistered = true;
}

// 0 for 1..16 bytes, 1 for 17..32 and so on; kSizeClasses and above (0 bytes
// included, by wrapping) for blocks that the cache does not keep.
constexpr std::size_t SizeClassOf(std::size_t size) { return (size - 1) / kSizeStep; }

} // namespace

// NOLINTNEXTLINE(misc-new-delete-overloads): the sized delete is the usual one here
void* KnxConverter::operator new(std::size_t size) {
  const std::size_t sizeClass = SizeClassOf(size);
  if (sizeClass >= kSizeClasses) {
    return ::operator new(size);
  }
  FreeBlocks& blocks = t_freeBlocks;
  if (FreeBlock* block = blocks.first[sizeClass]) {
    blocks.first[sizeClass] = block->next;
    --blocks.count[sizeClass];
    return block;
  }
  // Every block of a size class has the class's full size, so that any
  // converter of the class fits any cached block.
  return ::operator new((sizeClass + 1) * kSizeStep);
}

void KnxConverter::operator delete(void* block, std::size_t size) noexcept {
  const std::size_t sizeClass = SizeClassOf(size);
  FreeBlocks& blocks = t_freeBlocks;
  if (block == nullptr || sizeClass >= kSizeClasses ||
      blocks.count[sizeClass] >= kBlocksKeptPerSize) {
    ::operator delete(block);
    return;
  }
  if (!blocks.closerRegistered) {
    RegisterCloser(blocks);
  }
  auto* freed = static_cast<FreeBlock*>(block);
  freed->next = blocks.first[sizeClass];
  blocks.first[sizeClass] = freed;
  ++blocks.count[sizeClass];
}

#else

void* KnxConverter::operator new(std::size_t size) { return ::operator new(size); }

void KnxConverter::operator delete(void* block, std::size_t /*size*/) noexcept {
  ::operator delete(block);
}

#endif
} // namespace Avo
