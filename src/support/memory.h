// Checked allocation of the common library.
#pragma once

#include <cstddef>
#include <memory>

// Allocates `size` bytes; on failure writes the message "Memory allocation error
// at:<file>.<line> - <expression> for <size> bytes" (utm5400, type s) and answers
// null. Callers pass their own source position and the text of the size
// expression.
[[nodiscard]] void* util_malloc(int size, const char* file, int line, const char* expression);
void util_free(void* block);

// An owned copy of `text` (null for null). When memory is short it writes
// "Malloc error" and "... Aborting execution!" and ends the process with status 1.
[[nodiscard]] char* str_dup(const char* text);

// Owns a block of util_malloc or str_dup.
struct UtilFree {
  void operator()(void* block) const { util_free(block); }
};
using UniqueText = std::unique_ptr<char, UtilFree>;

// The allocator behind util_malloc, replaceable so that tests can make memory
// run short. Null restores the real one; answers the previous allocator.
using UtilAllocator = void* (*)(std::size_t);
UtilAllocator util_set_allocator_for_testing(UtilAllocator allocator);
