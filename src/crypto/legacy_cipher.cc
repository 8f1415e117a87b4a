// Construction of the legacy forms.
//
// Both forms are a block of bytes written as upper-case hexadecimal digits, two
// per byte, high digit first. The block is a length byte, the clear text, filler
// up to a fixed body size, and a check value, all XORed with a keystream:
//
//   first generation, 32 bytes:  E( len:1 | text + zero filler:29 | check:2 )
//   second generation, 44 bytes: salt:4 | E( len:1 | text + random filler:35 | check:4 )
//
// The primitives are two public-domain functions on 64-bit words: FNV-1a
// absorbs bytes into a state (h = (h ^ byte) * 0x100000001B3, from
// 0xCBF29CE484222325), and the SplitMix64 finaliser Mix spreads a state over
// all its bits.
//   - Key K: Mix of FNV-1a over a domain text ("sq_xa legacy 1" or "sq_xa
//     legacy 2"), then for each key text its length as eight bytes (low byte
//     first) and its bytes. The first generation's key texts are built in; the
//     second generation's are the caller's two.
//   - Keystream from a seed s: for n = 1, 2, ... the eight bytes (low byte
//     first) of Mix(s + n * 0x9E3779B97F4A7C15). The seed is Mix(K) in the first
//     generation and Mix(FNV-1a of the salt, starting from K) in the second.
//   - Check: the low bytes (low byte first) of Mix(FNV-1a over salt, length
//     byte and body, starting from K ^ 0x5851F42D4C957F2D).
// The second generation's salt and filler come from a generator seeded once
// per process from the wall clock and the monotonic clock (SplitMix64 steps of
// that seed), so the same clear text encodes differently on every call.
//
// Decoding reverses the XOR and accepts the block only when its length byte is
// within the body and its check matches: a hexadecimal text that was not made
// by this encoder under the same key texts (a clear text of hexadecimal digits,
// an altered digit, other key texts) is reported unreadable instead of turning
// into a wrong password; a random text passes with a chance of 2^-16 (first
// generation) or 2^-32 (second).
//
// These forms only keep passwords from being read at a glance: anybody with
// this description and the key texts decodes them. The key-file form is the
// protected one.
#include "crypto/legacy_cipher.h"

#include <atomic>
#include <chrono>
#include <cstdint>
#include <optional>
#include <vector>

#include "crypto/secure_wipe.h"

namespace legacy {
namespace {

constexpr uint64_t kFnvOffset = 0xCBF29CE484222325ull;
constexpr uint64_t kFnvPrime = 0x100000001B3ull;
constexpr uint64_t kGolden = 0x9E3779B97F4A7C15ull;
constexpr uint64_t kCheckDomain = 0x5851F42D4C957F2Dull;

constexpr std::size_t kFirstBodySize = kFirstGenerationCapacity;
constexpr std::size_t kFirstCheckSize = 2;
constexpr std::size_t kSaltSize = 4;
constexpr std::size_t kSecondBodySize = kSecondGenerationCapacity;
constexpr std::size_t kSecondCheckSize = 4;

static_assert(1 + kFirstBodySize + kFirstCheckSize == kFirstGenerationDigits / 2);
static_assert(kSaltSize + 1 + kSecondBodySize + kSecondCheckSize == kSecondGenerationDigits / 2);

// The first generation's built-in key texts.
constexpr std::string_view kFirstKey1 = "VDB";
constexpr std::string_view kFirstKey2 = "first generation";

using Bytes = std::vector<uint8_t>;

uint64_t Mix(uint64_t x) {
  x ^= x >> 30;
  x *= 0xBF58476D1CE4E5B9ull;
  x ^= x >> 27;
  x *= 0x94D049BB133111EBull;
  x ^= x >> 31;
  return x;
}

uint64_t Absorb(uint64_t state, std::string_view bytes) {
  for (const char c : bytes) state = (state ^ static_cast<uint8_t>(c)) * kFnvPrime;
  return state;
}

uint64_t Absorb(uint64_t state, const uint8_t* bytes, std::size_t size) {
  for (std::size_t i = 0; i < size; ++i) state = (state ^ bytes[i]) * kFnvPrime;
  return state;
}

uint64_t AbsorbKeyText(uint64_t state, std::string_view text) {
  uint64_t length = text.size();
  for (int i = 0; i < 8; ++i, length >>= 8) state = (state ^ (length & 0xFF)) * kFnvPrime;
  return Absorb(state, text);
}

uint64_t KeyOf(std::string_view domain, std::string_view key1, std::string_view key2) {
  return Mix(AbsorbKeyText(AbsorbKeyText(Absorb(kFnvOffset, domain), key1), key2));
}

void XorKeystream(uint64_t seed, uint8_t* bytes, std::size_t size) {
  uint64_t word = 0;
  for (std::size_t i = 0; i < size; ++i) {
    if (i % 8 == 0) word = Mix(seed + (i / 8 + 1) * kGolden);
    bytes[i] ^= static_cast<uint8_t>(word >> (8 * (i % 8)));
  }
}

// The check over salt, length byte and body, as `size` bytes.
void Check(uint64_t key, const uint8_t* covered, std::size_t covered_size, uint8_t* check,
           std::size_t size) {
  const uint64_t value = Mix(Absorb(key ^ kCheckDomain, covered, covered_size));
  for (std::size_t i = 0; i < size; ++i) check[i] = static_cast<uint8_t>(value >> (8 * i));
}

// The time-seeded filler generator, safe to call from several threads.
uint64_t NextFiller() {
  static std::atomic<uint64_t> state{[] {
    const auto wall = std::chrono::system_clock::now().time_since_epoch().count();
    const auto ticks = std::chrono::steady_clock::now().time_since_epoch().count();
    return Mix(static_cast<uint64_t>(wall)) ^ static_cast<uint64_t>(ticks);
  }()};
  return Mix(state.fetch_add(kGolden) + kGolden);
}

void Fill(uint8_t* bytes, std::size_t size) {
  uint64_t word = 0;
  for (std::size_t i = 0; i < size; ++i) {
    if (i % 8 == 0) word = NextFiller();
    bytes[i] = static_cast<uint8_t>(word >> (8 * (i % 8)));
  }
}

bool IsHexDigit(char c) { return (c >= '0' && c <= '9') || (c >= 'A' && c <= 'F'); }

std::string ToHex(const Bytes& bytes) {
  static constexpr char kDigits[] = "0123456789ABCDEF";
  std::string text;
  text.reserve(2 * bytes.size());
  for (const uint8_t byte : bytes) {
    text.push_back(kDigits[byte >> 4]);
    text.push_back(kDigits[byte & 15]);
  }
  return text;
}

// `text` holds hexadecimal digits only.
Bytes FromHex(std::string_view text) {
  const auto value = [](char c) { return c <= '9' ? c - '0' : c - 'A' + 10; };
  Bytes bytes(text.size() / 2);
  for (std::size_t i = 0; i < bytes.size(); ++i) {
    bytes[i] = static_cast<uint8_t>(value(text[2 * i]) << 4 | value(text[2 * i + 1]));
  }
  return bytes;
}

// What both decoders do before their own form: "NONE", and clear text with one
// leading marker dropped. Nothing for a text of hexadecimal digits.
std::optional<Decoded> PassClearText(std::string_view text, std::string* clear) {
  if (text == "NONE") return Decoded::kNoPassword;
  bool hexadecimal = !text.empty();
  for (const char c : text) hexadecimal = hexadecimal && IsHexDigit(c);
  if (hexadecimal) return std::nullopt;
  if (!text.empty() && kClearMarkers.find(text.front()) != std::string_view::npos) {
    text.remove_prefix(1);
  }
  clear->assign(text);
  return Decoded::kClearText;
}

// A clear text with a leading marker stays clear text and has no legacy form.
bool MarkedClear(std::string_view clear) {
  return !clear.empty() && kClearMarkers.find(clear.front()) != std::string_view::npos;
}

// Opens the sealed part (length byte, body, check) of a block in place and
// answers its clear text, or nothing when the block does not hold one. The
// block holds the clear text afterwards: callers wipe it.
std::optional<std::string> Open(uint64_t key, uint64_t stream_seed, Bytes* block,
                                std::size_t sealed_from, std::size_t body_size,
                                std::size_t check_size) {
  uint8_t* sealed = block->data() + sealed_from;
  XorKeystream(stream_seed, sealed, 1 + body_size + check_size);
  const std::size_t length = sealed[0];
  if (length > body_size) return std::nullopt;
  uint8_t expected[8];
  Check(key, block->data(), sealed_from + 1 + body_size, expected, check_size);
  uint8_t difference = 0;
  for (std::size_t i = 0; i < check_size; ++i)
    difference |= expected[i] ^ sealed[1 + body_size + i];
  if (difference != 0) return std::nullopt;
  return std::string(reinterpret_cast<const char*>(sealed + 1), length);
}

// Builds and seals a block whose first `sealed_from` bytes (the salt) and body
// filler are already in place.
void Seal(uint64_t key, uint64_t stream_seed, std::string_view clear, Bytes* block,
          std::size_t sealed_from, std::size_t body_size, std::size_t check_size) {
  uint8_t* sealed = block->data() + sealed_from;
  sealed[0] = static_cast<uint8_t>(clear.size());
  for (std::size_t i = 0; i < clear.size(); ++i) sealed[1 + i] = static_cast<uint8_t>(clear[i]);
  Check(key, block->data(), sealed_from + 1 + body_size, sealed + 1 + body_size, check_size);
  XorKeystream(stream_seed, sealed, 1 + body_size + check_size);
}

// Hands an opened clear text to the caller and wipes the copies left behind.
Decoded Deliver(Bytes* block, std::optional<std::string>* opened, std::string* clear) {
  crypto::Wipe(block->data(), block->size());
  if (!*opened) return Decoded::kUnreadable;
  *clear = **opened;
  crypto::Wipe(&**opened);
  return Decoded::kClearText;
}

uint64_t FirstKey() { return KeyOf("sq_xa legacy 1", kFirstKey1, kFirstKey2); }

uint64_t SecondSeed(uint64_t key, const Bytes& block) {
  return Mix(Absorb(key, block.data(), kSaltSize));
}

}  // namespace

Decoded DecodeFirstGeneration(std::string_view text, std::string* clear) {
  if (const auto passed = PassClearText(text, clear)) return *passed;
  if (text.size() != kFirstGenerationDigits) return Decoded::kUnreadable;
  Bytes block = FromHex(text);
  const uint64_t key = FirstKey();
  auto opened = Open(key, Mix(key), &block, 0, kFirstBodySize, kFirstCheckSize);
  return Deliver(&block, &opened, clear);
}

Decoded DecodeSecondGeneration(std::string_view text, std::string_view key1, std::string_view key2,
                               std::string* clear) {
  if (const auto passed = PassClearText(text, clear)) return *passed;
  if (text.size() != kSecondGenerationDigits) return Decoded::kUnreadable;
  Bytes block = FromHex(text);
  const uint64_t key = KeyOf("sq_xa legacy 2", key1, key2);
  auto opened =
      Open(key, SecondSeed(key, block), &block, kSaltSize, kSecondBodySize, kSecondCheckSize);
  return Deliver(&block, &opened, clear);
}

Encoded EncodeSecondGeneration(std::string_view clear, std::string_view key1, std::string_view key2,
                               std::string* text) {
  if (MarkedClear(clear)) {
    text->clear();
    return Encoded::kText;
  }
  if (clear.size() > kSecondGenerationCapacity) return Encoded::kTooLong;
  Bytes block(kSecondGenerationDigits / 2);
  Fill(block.data(), block.size());  // the salt and the body's filler
  const uint64_t key = KeyOf("sq_xa legacy 2", key1, key2);
  Seal(key, SecondSeed(key, block), clear, &block, kSaltSize, kSecondBodySize, kSecondCheckSize);
  *text = ToHex(block);
  return Encoded::kText;
}

Encoded EncodeFirstGenerationForTesting(std::string_view clear, std::string* text) {
  if (MarkedClear(clear)) {
    text->clear();
    return Encoded::kText;
  }
  if (clear.size() > kFirstGenerationCapacity) return Encoded::kTooLong;
  Bytes block(kFirstGenerationDigits / 2);  // zero filler
  const uint64_t key = FirstKey();
  Seal(key, Mix(key), clear, &block, 0, kFirstBodySize, kFirstCheckSize);
  *text = ToHex(block);
  return Encoded::kText;
}

}  // namespace legacy
