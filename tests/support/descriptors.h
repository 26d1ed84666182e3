// Checks and arrangements of this process's descriptors, for the time that they live.
#pragma once

#include <gtest/gtest.h>
#include <unistd.h>

#include "support/system_double.h"

namespace talvera::test {

// As many descriptors must be open at the end as at the start.
class DescriptorCheck {
 public:
  DescriptorCheck() = default;
  ~DescriptorCheck() { EXPECT_EQ(open_descriptors(), before_); }
  DescriptorCheck(const DescriptorCheck &) = delete;
  DescriptorCheck &operator=(const DescriptorCheck &) = delete;

 private:
  int before_ = open_descriptors();
};

// Standard input is closed: the next descriptor is 0. What it has become is closed at the end.
class ClosedStandardInput {
 public:
  ClosedStandardInput() { close(0); }
  ~ClosedStandardInput() {
    dup2(saved_, 0);
    close(saved_);
  }
  ClosedStandardInput(const ClosedStandardInput &) = delete;
  ClosedStandardInput &operator=(const ClosedStandardInput &) = delete;

 private:
  int saved_ = dup(0);
};

}  // namespace talvera::test
