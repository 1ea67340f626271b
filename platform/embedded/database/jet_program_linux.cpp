// ohmwise-jet-reader FILE [TABLE]: says on its output, in the pieces of jet_stream.h, which tables
// a Jet file has, or the columns and rows of one of them. A file may be damaged or made to do harm
// and libmdb trusts what it reads, so this is a program of its own, with limits; whatever happens
// to it is its answer.
#include <glib.h>
#include <mdbtools.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <unistd.h>

#include <array>
#include <cstring>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "platform/embedded/database/engine.h"
#include "platform/embedded/database/jet_stream.h"

// The sanitizer needs more address space than a reader may have.
#if defined(__SANITIZE_ADDRESS__)
#define OHMWISE_ADDRESS_SANITIZER
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define OHMWISE_ADDRESS_SANITIZER
#endif
#endif

namespace ohmwise::embedded {
namespace {

[[maybe_unused]] constexpr rlim_t kMemory = rlim_t{2} << 30;
constexpr rlim_t kSeconds = 60;

class Speaker {
 public:
  Speaker() { buffer_.reserve(kBlock * 2); }
  void Say(JetTag tag, std::string_view bytes = {}) {
    const auto size = static_cast<uint32_t>(bytes.size());
    std::array<char, sizeof(size)> length;
    std::memcpy(length.data(), &size, sizeof(size));
    buffer_ += static_cast<char>(tag);
    buffer_.append(length.data(), length.size());
    buffer_ += bytes;
    if (buffer_.size() >= kBlock) Flush();
  }
  void Flush() {
    for (size_t done = 0; done < buffer_.size();) {
      const ssize_t count = write(STDOUT_FILENO, buffer_.data() + done, buffer_.size() - done);
      if (count <= 0) _exit(1);  // nobody listens any more
      done += static_cast<size_t>(count);
    }
    buffer_.clear();
  }

 private:
  static constexpr size_t kBlock = 1 << 16;
  std::string buffer_;
};

ColumnType TypeOf(int type) {
  switch (type) {
    case MDB_BOOL:
      return ColumnType::kBoolean;
    case MDB_BYTE:
    case MDB_INT:
      return ColumnType::kInt16;
    case MDB_LONGINT:
      return ColumnType::kInt32;
    case MDB_MONEY:
    case MDB_FLOAT:
    case MDB_DOUBLE:
    case MDB_NUMERIC:
      return ColumnType::kDouble;
    default:
      return ColumnType::kText;
  }
}

MdbColumn* ColumnAt(const MdbTableDef* table, unsigned int index) {
  return static_cast<MdbColumn*>(g_ptr_array_index(table->columns, index));
}

// The library copies an empty text and a null alike; the row itself knows the difference.
std::vector<bool> Nulls(MdbHandle* file, MdbTableDef* table) {
  std::vector<bool> nulls(table->num_cols, true);
  int start = 0;
  size_t size = 0;
  if (mdb_find_row(file, static_cast<int>(table->cur_row) - 1, &start, &size) != 0) return nulls;
  std::vector<MdbField> fields(table->num_cols);
  // What comes back counts the row's fields, with those of dropped columns.
  if (mdb_crack_row(table, start & 0x1fff, size, fields.data()) < 0) return nulls;
  for (const MdbField& field : fields) {
    if (field.colnum >= 0 && static_cast<unsigned int>(field.colnum) < table->num_cols) {
      nulls[static_cast<size_t>(field.colnum)] = field.is_null != 0;
    }
  }
  return nulls;
}

bool SayTable(MdbHandle* file, MdbCatalogEntry* entry, Speaker& speaker) {
  MdbTableDef* table = mdb_read_table(entry);
  if (!table || !mdb_read_columns(table) || table->num_cols > MDB_MAX_COLS) return false;
  std::vector<std::unique_ptr<char[]>> texts;
  std::vector<int> lengths(table->num_cols);
  for (unsigned int i = 0; i < table->num_cols; ++i) {
    const MdbColumn* column = ColumnAt(table, i);
    const char type = static_cast<char>('0' + static_cast<int>(TypeOf(column->col_type)));
    speaker.Say(JetTag::kColumn, type + std::string(column->name));
    // Not cleared: most of it is never touched.
    texts.emplace_back(new char[kLongestJetText]);
    texts.back()[0] = '\0';
    const bool picture = column->col_type == MDB_OLE || column->col_type == MDB_COMPLEX;
    if (!picture) {
      mdb_bind_column(table, static_cast<int>(i) + 1, texts.back().get(), &lengths[i]);
    }
  }
  mdb_rewind_table(table);
  while (mdb_fetch_row(table) != 0) {
    const std::vector<bool> nulls = Nulls(file, table);
    speaker.Say(JetTag::kRow);
    for (unsigned int i = 0; i < table->num_cols; ++i) {
      const MdbColumn* column = ColumnAt(table, i);
      if (column->col_type == MDB_OLE || column->col_type == MDB_COMPLEX ||
          (column->col_type != MDB_BOOL && nulls[i])) {
        speaker.Say(JetTag::kNull);
        continue;
      }
      const size_t size = strnlen(texts[i].get(), kLongestJetText);
      if (size + 1 >= kLongestJetText) return false;  // cut off
      speaker.Say(JetTag::kText, {texts[i].get(), size});
    }
  }
  return true;
}

// `wanted` is a table, or null for the list of them.
bool Speak(const char* path, const char* wanted, Speaker& speaker) {
  MdbHandle* file = mdb_open(path, MDB_NOFLAGS);
  if (!file || !mdb_read_catalog(file, MDB_TABLE)) return false;
  mdb_set_bind_size(file, kLongestJetText);
  mdb_set_date_fmt(file, "%Y-%m-%d %H:%M:%S");
  mdb_set_shortdate_fmt(file, "%Y-%m-%d %H:%M:%S");
  mdb_set_boolean_fmt_numbers(file);
  for (unsigned int i = 0; i < file->num_catalog; ++i) {
    auto* entry = static_cast<MdbCatalogEntry*>(g_ptr_array_index(file->catalog, i));
    if (entry->object_type != MDB_TABLE || !mdb_is_user_table(entry)) continue;
    if (!wanted) {
      speaker.Say(JetTag::kTable, entry->object_name);
    } else if (std::strcmp(wanted, entry->object_name) == 0) {
      return SayTable(file, entry, speaker);
    }
  }
  return !wanted;
}

void SetLimits() {
#if !defined(OHMWISE_ADDRESS_SANITIZER)
  const rlimit memory = {kMemory, kMemory};
  setrlimit(RLIMIT_AS, &memory);
#endif
  const rlimit seconds = {kSeconds, kSeconds};
  setrlimit(RLIMIT_CPU, &seconds);
  const rlimit none = {0, 0};
  for (const auto what : {RLIMIT_CORE, RLIMIT_FSIZE}) setrlimit(what, &none);
  // Who asked may be gone before the answer is asked for; a write shows that by SIGPIPE.
  prctl(PR_SET_PDEATHSIG, SIGKILL);
}

}  // namespace
}  // namespace ohmwise::embedded

int main(int count, char** arguments) {
  using namespace ohmwise::embedded;
  if (count < 2 || count > 3) return 2;
  SetLimits();
  Speaker speaker;
  if (!Speak(arguments[1], count == 3 ? arguments[2] : nullptr, speaker)) return 1;
  speaker.Say(JetTag::kEnd);
  speaker.Flush();
}
