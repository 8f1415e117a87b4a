// The text form of registry values (see registry.h): how the stored bytes of
// a value of each type are handed over as text, and back. Both registry
// backends use it: the Win32 one between the registry API and the seam, the
// file-backed one between the file and the seam.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace platform {

// The text form of a value stored as `bytes` (strings as the ANSI or UTF-8 bytes
// with their final zero, as the registry hands them out).
[[nodiscard]] std::string RegTextFromStored(uint32_t type, std::string_view bytes);
// The stored bytes of a value given in text form. False when the text does not
// fit the type: a DWORD or QWORD that is not a decimal number in range.
[[nodiscard]] bool RegStoredFromText(uint32_t type, std::string_view text, std::string* bytes);

namespace reg {

// REG_SZ, REG_EXPAND_SZ and REG_MULTI_SZ: the types whose stored bytes are text.
[[nodiscard]] bool IsTextType(uint32_t type);
// A decimal number of at most `max`; with `canonical`, also without leading zeros.
[[nodiscard]] bool ParseDecimal(std::string_view text, uint64_t max, bool canonical,
                                uint64_t* value);
// The low `size` bytes of `value`, least significant first.
[[nodiscard]] std::string LittleEndianBytes(uint64_t value, size_t size);

}  // namespace reg
}  // namespace platform
