// The key-file cipher of the base services: texts enciphered with AES-256-GCM
// under a key kept in a file of its own.
//
// Key file: 32 random bytes written as 64 lower-case hexadecimal digits and a
// newline, at the path named by MARLOX_KEYFILE or else at
// <home>keyfiles\<key name>.key (<home> as VFW::Util::getMarloxHomeDir gives
// it). Enciphering creates it when it is missing, readable by its owner only;
// deciphering never creates it. It is read once per process and path. A key
// file that other users may read or write is refused, as a private key is.
//
// Enciphered text: "{AES256:keyfile:a}" followed by the standard base64, with
// padding, of nonce (12 bytes) + ciphertext + tag (16 bytes); every call draws
// a fresh nonce. The text does not name its key: deciphering uses MARLOX_KEYFILE
// or the key named "default".
#pragma once

#include <string>

// Statuses of CRY_Encrypt and CRY_Decrypt.
inline constexpr int CRY_OK = 0;
inline constexpr int CRY_E_ARGUMENT = 1;        // null result pointers, bad length or key name
inline constexpr int CRY_E_NO_KEY_PATH = 2;     // neither MARLOX_KEYFILE nor a product home
inline constexpr int CRY_E_NO_KEY_FILE = 3;     // deciphering: the key file does not exist
inline constexpr int CRY_E_KEY_FILE_READ = 4;   // the key file exists but cannot be read
inline constexpr int CRY_E_KEY_FILE_WRITE = 5;  // the missing key file cannot be created
inline constexpr int CRY_E_BAD_KEY_FILE = 6;    // the key file does not hold a key
inline constexpr int CRY_E_BAD_TEXT = 7;        // not an enciphered text
inline constexpr int CRY_E_TAG = 8;             // altered text, or made with another key
inline constexpr int CRY_E_BACKEND = 9;         // the cipher or the random source failed
inline constexpr int CRY_E_MEMORY = 10;
inline constexpr int CRY_E_KEY_FILE_ACCESS = 11;  // others may read or write the key file

// The marker that begins every enciphered text, and its length.
inline constexpr char CRY_MARKER[] = "{AES256:keyfile:a}";
inline constexpr int CRY_MARKER_LENGTH = 18;

// Enciphers `length` bytes of `text` (any bytes; null only with length 0) under
// the key named `keyName` (null: "default"; a plain file name). `keyName2` is
// accepted for callers that name a second key and not used: a text carries one
// key. On success *result is the enciphered text, terminated, *resultLength its
// length without the terminator; release it with CRY_Free. On failure *result
// is null and *resultLength 0.
[[nodiscard]] int CRY_Encrypt(const char* text, int length, char** result, int* resultLength,
                              const char* keyName, const char* keyName2);

// Checks and deciphers an enciphered text of `length` bytes. On success *result
// is the clear text with a terminator after its *resultLength bytes; release it
// with CRY_Free. On failure *result is null and *resultLength 0.
[[nodiscard]] int CRY_Decrypt(const char* text, int length, char** result, int* resultLength);

// Wipes and releases a result of CRY_Encrypt or CRY_Decrypt; null is ignored.
void CRY_Free(char* result);

// The key file that deciphering uses (MARLOX_KEYFILE, or that of the key
// "default"): CRY_OK with its path in `path`, or CRY_E_NO_KEY_PATH.
[[nodiscard]] int CRY_KeyFilePath(std::string* path);

// Whether the key file that deciphering uses holds a key that may be used:
// CRY_OK, or why not (it is missing, others may read or write it, it cannot be
// read, it holds no key). Never creates it.
[[nodiscard]] int CRY_CheckKeyFile();

// A status of this interface in words, for reports ("others may read or write
// it").
[[nodiscard]] const char* CRY_StatusText(int status);
