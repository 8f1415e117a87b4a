#include "support/memory.h"

#include <cstdlib>
#include <cstring>

#include "support/message.h"

namespace {
UtilAllocator g_allocator = &std::malloc;
}  // namespace

UtilAllocator util_set_allocator_for_testing(UtilAllocator allocator) {
  const UtilAllocator previous = g_allocator;
  g_allocator = allocator != nullptr ? allocator : &std::malloc;
  return previous;
}

void* util_malloc(int size, const char* file, int line, const char* expression) {
  void* block = size >= 0 ? g_allocator(static_cast<std::size_t>(size)) : nullptr;
  if (block == nullptr) {
    msg_write(nullptr, "vdbutil", 2094, "s", "utm5400",
              "Memory allocation error at:%s.%d - %s for %d bytes \n", file, line, expression,
              size);
  }
  return block;
}

void util_free(void* block) {
  if (block != nullptr) std::free(block);
}

char* str_dup(const char* text) {
  if (text == nullptr) return nullptr;
  const std::size_t length = std::strlen(text);
  auto* copy = static_cast<char*>(util_malloc(static_cast<int>(length + 1), "vdbstr", 308,
                                              "sizeof(char) * (strlen(charbuff)+1)"));
  if (copy == nullptr) {
    msg_write_simple('e', "ust0000", "%s\n", "Malloc error");
    msg_write_simple('e', "ust0000", "... Aborting execution!\n");
    std::exit(1);
  }
  std::memcpy(copy, text, length + 1);
  return copy;
}
