// Tracing of the run (the base-services trace interface).
//
// Levels: error (0x80), flow (0x40, entry and exit of functions) and detail
// (0x01). The environment variable SQ_XA_TRACE chooses them: "none", "error",
// "flow" (error and flow), "detail" (error, flow and detail) or "all"; unset or
// unknown means "error". Records go to the file SQ_XA_TRACE_FILE or, when that is
// unset, to H + "ORVAGT6_x64\logs\sq_xa.trc" when that directory exists; without
// a file nothing is written. Tracing never writes to standard output or error.
#pragma once

#include "platform/printf_format.h"

inline constexpr unsigned RAS1_DETAIL = 0x01;
inline constexpr unsigned RAS1_FLOW = 0x40;
inline constexpr unsigned RAS1_ERROR = 0x80;

inline constexpr int RAS1_EV_ENTRY = 0;
inline constexpr int RAS1_EV_EXIT = 1;

// Reads the environment and opens the trace file; called by BSS1_Main. Calling
// it again closes the file and starts over (tests use this).
void RAS1_Initialize();
// Closes the trace file.
void RAS1_Shutdown();

// The levels in force: a function reads them once and tests its bits.
[[nodiscard]] unsigned RAS1_Sync();

// Writes one record "<timestamp> <function>: <text>" when `level` is in force.
// A newline ends the record unless the text already ends with one.
void RAS1_Printf(unsigned level, const char* function, const char* format, ...) SQXA_PRINTF(3, 4);

// Entry and exit records of a function at the flow level.
void RAS1_Event(const char* function, int event);
void RAS1_Event(const char* function, int event, int status);

// Traces entry when made and exit when destroyed.
class Ras1Scope {
 public:
  explicit Ras1Scope(const char* function) : function_(function) {
    RAS1_Event(function_, RAS1_EV_ENTRY);
  }
  ~Ras1Scope() { RAS1_Event(function_, RAS1_EV_EXIT); }
  Ras1Scope(const Ras1Scope&) = delete;
  Ras1Scope& operator=(const Ras1Scope&) = delete;

 private:
  const char* function_;
};
