#include "platform/embedded/database/connection_string.h"

#include <gtest/gtest.h>

#include "base/error.h"
#include "base/text.h"

namespace ohmwise::embedded {
namespace {

TEST(ConnectionStringTest, ReadsItemsWithoutCaseAndPathsToTheirEnd) {
  const struct {
    std::u16string_view text;
    std::u16string source;
  } rows[] = {
      {u"Provider=Microsoft.Jet.OLEDB.4.0;Data Source=/a/my parts.mdb", u"/a/my parts.mdb"},
      {u"Provider=Microsoft.Jet.OLEDB.4.0;Jet OLEDB:Database Password=x;Data Source=/a=b.mdb",
       u"/a=b.mdb"},
      {u" provider = microsoft.jet.oledb.4.0 ; DATA SOURCE = ä.mdb ; ", u"ä.mdb"},
      {u"Provider=Microsoft.ACE.OLEDB.12.0;Data Source=\"/a;b.mdb\" ;Mode=Read", u"/a;b.mdb"},
      {u"Provider=Microsoft.Jet.OLEDB.4.0;Data Source=/it's.mdb", u"/it's.mdb"},
      {u"Provider=Microsoft.Jet.OLEDB.4.0;Data Source=a;Data Source=b", u"b"},
  };
  for (const auto& row : rows) {
    EXPECT_EQ(ParseConnectionString(row.text).data_source, row.source) << ToUtf8(row.text);
  }
}

TEST(ConnectionStringTest, RefusesWhatItCannotServe) {
  const std::u16string_view rows[] = {
      u"",
      u"Data Source=a.mdb",
      u"Provider=SQLOLEDB;Data Source=a.mdb",
      u"Provider=Microsoft.Jet.OLEDB.4.0",
      u"Provider=Microsoft.Jet.OLEDB.4.0;Data Source=",
      u"Provider=Microsoft.Jet.OLEDB.4.0;Data Source=a;trailing",
      u"Provider=Microsoft.Jet.OLEDB.4.0;Data Source=a;Datasource=b",
      u"Provider=Microsoft.Jet.OLEDB.4.0;Data Source=\"a",
      u"Provider=Microsoft.Jet.OLEDB.4.0;Data Source=\"a\"b",
  };
  for (const std::u16string_view text : rows) {
    try {
      ParseConnectionString(text);
      ADD_FAILURE() << ToUtf8(text);
    } catch (const AutomationError& error) {
      EXPECT_EQ(error.number(), Err::kProvider) << ToUtf8(text);
    }
  }
}

}  // namespace
}  // namespace ohmwise::embedded
