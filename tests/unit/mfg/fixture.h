// What the tests of the manufacturing store share: the system double with a factory file in its
// flash partition, and a check that no access leaves anything behind.
#pragma once

#include <gmock/gmock.h>

#include <string>

#include "support/descriptors.h"

namespace talvera::test {

inline constexpr std::size_t kMfgFileSize = 131072;

class MfgTest : public ::testing::Test {
 protected:
  // Whatever a test does, the file is closed and the partition unmounted afterwards.
  void TearDown() override {
    EXPECT_FALSE(system.platform().mounted());
    system.forget();
  }

  [[nodiscard]] std::string path() { return system.platform().flash_directory() + "/mfg.dat"; }
  [[nodiscard]] std::string content() { return read_file(path()); }
  void write_content(const std::string &bytes) {
    FILE *file = std::fopen(path().c_str(), "wb");
    std::fwrite(bytes.data(), 1, bytes.size(), file);
    std::fclose(file);
  }
  // A whole file of 0xFF with some bytes at an offset.
  void write_file_with(std::size_t offset, const std::string &bytes) {
    std::string all(kMfgFileSize, '\xFF');
    all.replace(offset, bytes.size(), bytes);
    write_content(all);
  }
  // The texts that were logged to syslog at a level.
  [[nodiscard]] Texts logged(int level) const {
    Texts texts;
    for (const LogLine &line : system.log()) {
      if (line.channel == "syslog" && line.level == level) texts.push_back(line.text);
    }
    return texts;
  }

  const DescriptorCheck descriptors{};
  SystemDouble system;
};

}  // namespace talvera::test
