// What nearly every test uses: headers of the standard library, and names without saying where they
// come from. For sources of tests alone.
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace testing_support {}

using namespace testing_support;  // NOLINT(google-global-names-in-headers)
using testing::_;
using testing::AllOf;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::MatchesRegex;
using testing::Not;
using testing::Pair;
using testing::StartsWith;
using testing::internal::CaptureStderr;
using testing::internal::GetCapturedStderr;

namespace testing_support {

// What `call` writes to standard error.
template <typename Call>
std::string MessagesOf(Call call) {
  CaptureStderr();
  call();
  return GetCapturedStderr();
}

}  // namespace testing_support
