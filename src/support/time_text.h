// Time stamps of the common library, in local time.
#pragma once

// Writes the current time into `buffer` (at least 48 bytes; a static buffer when
// null) in one of five styles and answers it:
//   1  "2026/11/13 00:52:07"
//   2  "11/13/26 00:52:07", as "%c" gives it in the C locale on Windows
//   3  "1261113005207": the year - 1900 in three digits, then month, day,
//      hours, minutes and seconds in two digits each
//   4  style 3 followed by "000"
//   any other  "20261113005207"
// A broken-down year below 81 counts from 2000 on (a two-digit-year pivot).
char* time_text(char* buffer, int style);

// The current time as "%H%M%S" into `buffer` (a static 8-byte buffer when
// null); answers the buffer.
char* msg_time_hms(char* buffer);
