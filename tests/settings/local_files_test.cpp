#include "platform/embedded/files/local_files.h"

#include <gtest/gtest.h>

#include <fstream>
#include <vector>

#include "base/error.h"
#include "base/text.h"
#include "tests/settings/temporary_folder.h"

namespace ohmwise::testing {
namespace {

using embedded::LocalFiles;
using Texts = std::vector<std::u16string>;

TEST(LocalFilesTest, ReadsLinesOfAnyEndAndEncoding) {
  const TemporaryFolder folder;
  const std::string path = folder.Path("Öptions.txt");
  const struct {
    std::string bytes;
    Texts lines;
  } rows[] = {
      {"", {}},
      {"one", {u"one"}},
      {"one\r\ntwo\n\nthree\rfour\r\n", {u"one", u"two", u"", u"three", u"four"}},
      {"\xEF\xBB\xBF\xC3\xA4\n", {u"ä"}},
      {"Gr\xFC\xDF"
       "e \x80\n",
       {u"Grüße €"}},
      {"\xC3\xA4 \xF0\x9F\x98\x80", {u"ä 😀"}},
      {"\xED\xA0\x80", {u"í\xA0€"}},  // a surrogate is no UTF-8
      {"\xC0\xAF", {u"À¯"}},
      {"a\xE2\x82", {u"aâ‚"}},
      {std::string("a\0b\n", 4), {std::u16string(u"a\0b", 3)}},
  };
  LocalFiles files;
  for (const auto& row : rows) {
    std::ofstream(path, std::ios::binary) << row.bytes;
    const auto file = files.OpenText(FromUtf8(path));
    Texts lines;
    while (!file->AtEnd()) lines.push_back(file->ReadLine());
    EXPECT_EQ(lines, row.lines);
    try {
      file->ReadLine();
      ADD_FAILURE();
    } catch (const AutomationError& error) {
      EXPECT_EQ(error.number(), Err::kInputPastEnd);
    }
  }
}

TEST(LocalFilesTest, FilesExistAndFoldersDoNot) {
  const TemporaryFolder folder;
  const std::string file = folder.Path("file");
  std::ofstream(file) << "x";
  LocalFiles files;
  EXPECT_TRUE(files.FileExists(FromUtf8(file)));
  for (const std::string& none :
       {folder.Path("none"), folder.Path(""), file + "/x", std::string()}) {
    EXPECT_FALSE(files.FileExists(FromUtf8(none))) << none;
  }
  const std::pair<std::string, Err> refused[] = {{folder.Path("none"), Err::kFileNotFound},
                                                 {file + "/x", Err::kFileNotFound},
                                                 {folder.Path(""), Err::kHost}};
  for (const auto& [path, number] : refused) {
    try {
      files.OpenText(FromUtf8(path));
      ADD_FAILURE() << path;
    } catch (const AutomationError& error) {
      EXPECT_EQ(error.number(), number) << path;
    }
  }
}

}  // namespace
}  // namespace ohmwise::testing
