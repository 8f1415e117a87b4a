// Conversion of database login passwords between clear text, the legacy forms
// of the common library (crypto/legacy_cipher.h) and the key-file form
// (crypto/key_file_cipher.h, recognised by "{AES256:keyfile:a}").
//
// Failures are reported as messages of this module and leave the caller's text
// as it was. No message carries a password, in any form.
#pragma once

#include <string>

// The key-file form of `clear` under the key "default"; null for a null or
// empty text and when the cipher fails. Release the result with CRY_Free.
[[nodiscard]] char* Encrypt0100(const char* clear);

// The clear text of a key-file text, or `text` itself when it is no key-file
// text (no marker, or the marker alone). The result lives in a buffer of this
// module, 150 bytes long, that the next call wipes and overwrites. Null for a
// null or empty text, when the cipher fails, and for a result longer than 149
// bytes, which the buffer does not hold.
[[nodiscard]] const char* Decrypt0100(const char* text);

// Wipes the buffer of Decrypt0100: for callers that have copied the clear text
// out of it. The buffer is wiped at exit too.
void WipeDecrypt0100Result();

// Brings `*password` into the key-file form: a text of 64 characters is read as
// a first-generation legacy text, any other as a second-generation one under
// the key texts `key1` and `key2` (null: the module's defaults); clear text
// passes through both (see legacy_cipher.h), and so do hexadecimal digits that
// are no legacy text under those key texts (a clear password "123456"). A text
// already in the key-file form is not hexadecimal and would be enciphered
// again: callers check for the marker first. False, with the password
// unchanged, for an empty password, "NONE" or a failure of the cipher.
[[nodiscard]] bool convertToVDBPassword(std::string* password, const char* key1, const char* key2);

// Brings `*password` into the second-generation legacy form under `key1` and
// `key2` (null: the module's defaults): a key-file text is deciphered first;
// then a text of 64 characters is read as a first-generation text, one of 88 as
// a second-generation text under the same key texts, and one of any other
// length is clear text as it stands, as are hexadecimal digits that are no
// legacy text. A clear text with a leading marker out of "*#!-=" becomes the
// empty text. False, with the password unchanged, for an empty password,
// "NONE", a failure of the cipher and a clear text longer than the 88-digit
// form holds (35 bytes).
[[nodiscard]] bool convertFromVDBPassword(std::string* password, const char* key1,
                                          const char* key2);

// The clear text of a legacy or clear password under the module's default key
// texts, chosen by length (64 characters: first generation; any other: second).
// False for "NONE" (no password); hexadecimal digits that are no legacy text
// are clear text.
[[nodiscard]] bool decodeVDBPassword(const std::string& password, std::string* clear);
