// Captures what a piece of code writes to standard output and error.
#pragma once

#include <gtest/gtest.h>

#include <cstdio>
#include <functional>
#include <string>

#include "common/line_ends.h"

struct Captured {
  std::string out, err;
};

inline Captured Capture(const std::function<void()>& code) {
  std::fflush(nullptr);
  ::testing::internal::CaptureStdout();
  ::testing::internal::CaptureStderr();
  code();
  std::fflush(nullptr);
  const std::string err = ::testing::internal::GetCapturedStderr();
  return {sqxa_test::WithLf(::testing::internal::GetCapturedStdout()), sqxa_test::WithLf(err)};
}
