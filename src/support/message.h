// The message facility of the common library: numbered, typed message lines
//
//   <ID><letter> [(<hhmmss>) ][<SOURCE>(<line>) ][<routine> ](<thread>)<text>
//
// serialised between processes by the named mutex "LogMutex_<server>_<number>",
// written to the message output file when one is open (with line-count wrapping
// and numbered backups) or else to standard output, and echoed to standard
// error for errors.
//
// The type is a letter with optional modifiers:
//   T  trace: timestamp, flushed      H[n]  trace when switch n is on
//   I, W  information, warning        A  information echoed to standard error
//   E, S  error, severe: flushed and echoed to standard error
//   X  pre-built: the format is "<ID8> text", written unformatted
//   -  no header                      @  sets the line prefix of standard output
//   modifiers: * abort, - drop, F/f flush off/on, H/h header off/on, L/l echo
//   off/on, P/p source position off/on, T/t timestamp off/on, u keep letter case
#pragma once

#include <cstdio>

#include "platform/printf_format.h"

void msg_write(const char* routine, const char* sourceFile, int line, const char* type,
               const char* messageId, const char* format, ...) SQXA_PRINTF(6, 7);
// The short form: a one-letter type, no routine, source position or modifiers.
void msg_write_simple(int type, const char* messageId, const char* format, ...) SQXA_PRINTF(3, 4);

// Opens the message output file `name` ("col.out" when null) for writing,
// rotating its numbered backups first, makes it the message output stream and
// answers it; null when neither it nor the fallback "colx.out" opens.
std::FILE* msg_open_output(const char* name);

// Counts one message to `*stream` and, at the "COLL_WRAPLINES" limit, reopens the
// file (rotating the backups) and starts it with a "File wrapped" line.
void msg_wrap_check(std::FILE** stream, const char* name, int* counter);

// Process-wide switches of optional messages (0 to 7), all off at start.
[[nodiscard]] bool msg_trace_switch(int number);
void msg_set_trace_switch(int number, bool on);
// Routine names are shown from verbosity 2 on.
void msg_set_verbosity(int level);
// The directory and the three name parts put in front of the output file name.
void msg_set_name_qualifiers(const char* directory, const char* first, const char* second,
                             const char* third);

// Closes the message output stream and forgets every process-wide setting and
// count, as at the start of a run (tests use this).
void msg_reset_for_testing();
// Makes `stream` (not owned) the message output stream.
void msg_set_output_for_testing(std::FILE* stream);
