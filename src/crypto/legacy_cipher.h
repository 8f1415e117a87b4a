// The legacy password forms of the common database-agent library: texts of
// upper-case hexadecimal digits, 64 long (first generation, one built-in key)
// or 88 long (second generation, keyed by two key texts of the caller and
// different on every encoding). legacy_cipher.cc tells how they are built.
//
// Both decoders read clear text too: a text that is not made only of
// "0123456789ABCDEF" is clear text, and one leading marker out of "*#!-=" is
// dropped from it (so a marker keeps a hexadecimal-looking clear text from
// being taken for a legacy text). The text "NONE" means no password.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace legacy {

inline constexpr std::size_t kFirstGenerationDigits = 64;
inline constexpr std::size_t kSecondGenerationDigits = 88;
// The longest clear texts, in bytes, that the two forms hold.
inline constexpr std::size_t kFirstGenerationCapacity = 29;
inline constexpr std::size_t kSecondGenerationCapacity = 35;

inline constexpr std::string_view kClearMarkers = "*#!-=";

enum class Decoded {
  kClearText,   // *clear holds the clear text
  kNoPassword,  // the text "NONE"
  // Hexadecimal digits only, but no text of this form under these key texts:
  // another length, an altered digit, other key texts, or a clear text made
  // of hexadecimal digits. *clear is untouched.
  kUnreadable,
};

[[nodiscard]] Decoded DecodeFirstGeneration(std::string_view text, std::string* clear);
[[nodiscard]] Decoded DecodeSecondGeneration(std::string_view text, std::string_view key1,
                                             std::string_view key2, std::string* clear);

enum class Encoded {
  kText,     // *text holds the encoded text
  kTooLong,  // the clear text is longer than the form holds; *text is untouched
};

// The 88-digit form of `clear`. A clear text that begins with a marker out of
// "*#!-=" says it is to stay clear text: it has no legacy form and encodes to
// the empty text.
[[nodiscard]] Encoded EncodeSecondGeneration(std::string_view clear, std::string_view key1,
                                             std::string_view key2, std::string* text);

// The 64-digit form, which the utility only reads; tests make their texts with it.
[[nodiscard]] Encoded EncodeFirstGenerationForTesting(std::string_view clear, std::string* text);

}  // namespace legacy
