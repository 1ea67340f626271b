#pragma once

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include "base/text.h"
#include "catalogue/clsLDB.h"
#include "platform/embedded/database/catalogue_file.h"
#include "platform/embedded/host/embedded_host.h"
#include "platform/host.h"

namespace ohmwise::testing {

/// A new, empty catalogue in a folder that goes with the test.
class CatalogueTest : public ::testing::Test {
 protected:
  void SetUp() override {
    std::string pattern = (std::filesystem::temp_directory_path() / "ohmwise-XXXXXX").string();
    ASSERT_NE(mkdtemp(pattern.data()), nullptr);
    folder_ = pattern;
    path_ = FromUtf8((folder_ / "my parts.mdb").string());
    embedded::CreateCatalogue(path_);
    db_.OpenDB(path_);
  }
  ~CatalogueTest() override {
    std::error_code ignored;
    std::filesystem::remove_all(folder_, ignored);
  }

  std::vector<embedded::ShownMessage> boxes_;
  embedded::EmbeddedHost host_{[this] {
    embedded::EmbeddedHost::Options options;
    options.library_folder = FromUtf8(OHMWISE_DATA_FOLDER);
    options.on_message = [this](const embedded::ShownMessage& box) { boxes_.push_back(box); };
    return options;
  }()};
  HostScope scope_{host_};
  std::filesystem::path folder_;
  std::u16string path_;
  clsLDB db_;
};

}  // namespace ohmwise::testing
