// The names that tests use without saying where they come from. For sources of tests alone.
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

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
