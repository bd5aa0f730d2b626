// A state folder that this test holds as the daemon would.
#pragma once

#include <gtest/gtest.h>

#include <string>

#include "configd/state/StateFolder.h"

struct HeldFolder {
  explicit HeldFolder(const std::string& path, std::uint64_t quota = StateFolder::kQuota)
      : state(quota) {
    std::string why;
    EXPECT_TRUE(state.Open(path, why)) << why;
  }

  StateFolder state;
};
