#pragma once

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "base/error.h"
#include "tests/support/test_host.h"

namespace ohmwise::testing {

/// A host whose settings and files are in memory.
class SettingsHost : public TestHost, private SettingsStore, private FileSystem {
 public:
  SettingsStore& settings_store() override { return *this; }
  FileSystem& files() override { return *this; }

  std::map<std::u16string, std::u16string> stored;  ///< by key
  std::map<std::u16string, std::vector<std::u16string>> text_files;
  std::vector<std::u16string> reads;  ///< keys, in order
  bool refuses_writes = false;

 private:
  static void Expect(bool own_place) {
    if (!own_place) Raise(Err::kHost, u"not the section of the options");
  }
  std::optional<std::u16string> Read(std::u16string_view application, std::u16string_view section,
                                     std::u16string_view key) override {
    Expect(application == u"Ohmwise" && section == u"Options");
    reads.emplace_back(key);
    const auto found = stored.find(std::u16string(key));
    return found == stored.end() ? std::nullopt : std::optional(found->second);
  }
  void Write(std::u16string_view application, std::u16string_view section, std::u16string_view key,
             std::u16string_view value) override {
    Expect(application == u"Ohmwise" && section == u"Options");
    if (refuses_writes) Raise(Err::kHost, u"injected failure");
    stored[std::u16string(key)] = value;
  }
  std::u16string Location() override { return u"the memory"; }

  class Lines : public TextFile {
   public:
    explicit Lines(std::vector<std::u16string> lines) : lines_(std::move(lines)) {}
    bool AtEnd() override { return at_ == lines_.size(); }
    std::u16string ReadLine() override { return lines_.at(at_++); }

   private:
    std::vector<std::u16string> lines_;
    size_t at_ = 0;
  };
  bool FileExists(std::u16string_view path) override {
    return text_files.contains(std::u16string(path));
  }
  std::unique_ptr<TextFile> OpenText(std::u16string_view path) override {
    return std::make_unique<Lines>(text_files.at(std::u16string(path)));
  }
};

}  // namespace ohmwise::testing
