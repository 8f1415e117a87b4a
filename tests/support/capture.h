// Captures what a piece of code writes to standard output and error.
#pragma once

#include <gtest/gtest.h>

#include <cstdio>
#include <functional>
#include <string>

#include "common/line_ends.h"

struct Captured {
  std::string out;
  std::string err;
};

inline Captured Capture(const std::function<void()>& code) {
  std::fflush(stdout);
  std::fflush(stderr);
  ::testing::internal::CaptureStdout();
  ::testing::internal::CaptureStderr();
  code();
  std::fflush(stdout);
  std::fflush(stderr);
  Captured captured;
  captured.err = sqxa_test::WithLf(::testing::internal::GetCapturedStderr());
  captured.out = sqxa_test::WithLf(::testing::internal::GetCapturedStdout());
  return captured;
}
