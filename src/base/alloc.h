/*
 * The library's one allocator: thin inline wrappers over the C runtime's
 * malloc/calloc/realloc, so that every result can be released by callers with
 * free(). A test-only hook can make the Nth allocation from now fail, which is
 * how the "null when memory runs out" contracts are proven.
 */
#ifndef TW_BASE_ALLOC_H
#define TW_BASE_ALLOC_H

#include <atomic>
#include <cstdlib>
#include <cstring>

namespace tw {

extern std::atomic<int> alloc_failure_countdown;
bool alloc_failure_due();  // counts one allocation down; true for the armed one

inline bool alloc_should_fail() {
    return alloc_failure_countdown.load(std::memory_order_relaxed) != 0 && alloc_failure_due();
}

inline void *mem_alloc(size_t size) { return alloc_should_fail() ? nullptr : std::malloc(size); }

inline void *mem_calloc(size_t count, size_t size) {
    return alloc_should_fail() ? nullptr : std::calloc(count, size);
}

// A zero-size realloc is a release and never counts as an allocation.
inline void *mem_realloc(void *block, size_t size) {
    if (size != 0 && alloc_should_fail()) return nullptr;
    return std::realloc(block, size);
}

inline void mem_free(void *block) { std::free(block); }

// A heap copy of the first length characters of text, terminated; null when
// memory runs out.
inline char *copy_text(const char *text, size_t length) {
    auto copy = static_cast<char *>(mem_alloc(length + 1));
    if (!copy) return nullptr;
    std::memcpy(copy, text, length);
    copy[length] = '\0';
    return copy;
}

}  // namespace tw

#endif
