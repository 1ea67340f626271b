#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "catalogue/article.h"
#include "catalogue/clsLDB.h"
#include "cli/command.h"
#include "cli/json.h"
#include "cli/output.h"
#include "platform/embedded/host/embedded_host.h"
#include "platform/host.h"

namespace ohmwise::cli {

/// What every sub-command of the catalogue takes.
struct CatalogueOptions {
  std::string location;
  bool json = false;

  void AddTo(CLI::App& command);
};

/// The catalogue that `given` names, else the one of the user's options, else the one that lies in
/// the library's folder. Raises 53 when none is named and none lies there.
std::u16string CatalogueLocation(const std::string& given);

/// An open catalogue on a host of its own.
class CatalogueSession {
 public:
  explicit CatalogueSession(const CatalogueOptions& options);

  clsLDB& db() { return db_; }
  const std::u16string& location() const { return location_; }
  /// The article with the key. Raises a provider's error that says what is missing.
  catalogue::Article Find(const catalogue::ArticleTable& table, int32_t key);

 private:
  embedded::EmbeddedHost host_;
  HostScope scope_;
  std::u16string location_;
  clsLDB db_;
};

/// Opens a catalogue where it is, whatever signs that has in it. Raises the provider's error.
void OpenCatalogue(clsLDB& db, std::u16string_view location);

/// Key of a category. Raises a provider's error that says what there is to do.
int32_t RequireCategory(clsLDB& db, const std::string& name);

/// What is written during its life happens wholly or, without `Commit`, not at all.
class CatalogueTransaction {
 public:
  explicit CatalogueTransaction(clsLDB& db);
  ~CatalogueTransaction();
  CatalogueTransaction(const CatalogueTransaction&) = delete;
  CatalogueTransaction& operator=(const CatalogueTransaction&) = delete;
  void Commit();

 private:
  ConnectionRef connection_;
  bool open_ = true;
};

/// Options for the columns of a table ("--lay-shape") and what was given for them.
class ArticleArguments {
 public:
  explicit ArticleArguments(const catalogue::ArticleTable& table);
  void AddTo(CLI::App& command, bool name_required);
  /// Throws the parser's error, as of wrong usage, for a value that does not fit its column.
  void Check() const;
  bool empty() const;
  /// Puts what was given into an article.
  void Apply(catalogue::Article& article) const;

 private:
  const catalogue::ArticleTable& table_;
  std::vector<std::optional<std::string>> values_;
};

/// The members of an article's JSON object, the key first.
void WriteArticle(JsonWriter& json, const catalogue::ArticleTable& table,
                  const catalogue::Article& article);
/// "name  value" lines of an article.
void PrintArticle(const Printer& printer, const catalogue::ArticleTable& table,
                  const catalogue::Article& article,
                  const std::vector<std::pair<std::string, std::string>>& more = {});
/// The columns that a list on a terminal has room for.
void PrintArticles(const Printer& printer, const catalogue::ArticleTable& table,
                   const std::vector<catalogue::Article>& articles);

void AddCatalogueInit(CLI::App& group, Action& action);
void AddCatalogueComponents(CLI::App& group, Action& action);
void AddCatalogueCategories(CLI::App& group, Action& action);
void AddCatalogueCables(CLI::App& group, Action& action);
void AddCatalogueExchange(CLI::App& group, Action& action);

/// The articles that a new catalogue starts with, in the library's folder.
inline constexpr std::u16string_view kStarterFiles[] = {u"starter-components.csv",
                                                        u"starter-cables.csv"};

/// Takes them over; returns how many there are.
size_t ImportStarter(CatalogueSession& session);

}  // namespace ohmwise::cli
