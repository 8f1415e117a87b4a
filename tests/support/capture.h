// Captures what a piece of code writes to standard output and error.
#pragma once

#include <gtest/gtest.h>

#include <cstdio>
#include <functional>
#include <string>

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
  captured.err = ::testing::internal::GetCapturedStderr();
  captured.out = ::testing::internal::GetCapturedStdout();
  return captured;
}
