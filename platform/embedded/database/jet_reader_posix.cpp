#include <fcntl.h>
#include <glib.h>
#include <mdbtools.h>
#include <poll.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <cstring>
#include <fstream>
#include <memory>
#include <system_error>

#include "base/error.h"
#include "base/text.h"
#include "platform/embedded/database/jet_reader.h"
#include "platform/embedded/database/sqlite_session.h"

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

// Forms take 65,535 characters; the library takes this much memory for every text.
constexpr size_t kLongestText = size_t{256} << 10;
[[maybe_unused]] constexpr rlim_t kReaderMemory = rlim_t{2} << 30;
constexpr rlim_t kReaderSeconds = 60;
constexpr std::chrono::seconds kReaderPatience{120};
// What one file may grow to: texts of one byte per unit in the file become one byte of UTF-8, so
// much more than the file's size is a circle in its pages.
constexpr uintmax_t kLeastOutput = 64u << 20;
constexpr uintmax_t kOutputPerByte = 16;

// What the reading process says, piece by piece: a tag, a length, bytes.
enum Tag : uint8_t {
  kTable = 'T',
  kColumn = 'C',
  kRow = 'R',
  kText = 'V',
  kNull = 'N',
  kEnd = 'E'
};

class Speaker {
 public:
  explicit Speaker(int pipe) : pipe_(pipe) { buffer_.reserve(kBlock * 2); }
  void Say(Tag tag, std::string_view bytes = {}) {
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
      const ssize_t count = write(pipe_, buffer_.data() + done, buffer_.size() - done);
      if (count <= 0) _exit(1);  // nobody listens any more
      done += static_cast<size_t>(count);
    }
    buffer_.clear();
  }

 private:
  static constexpr size_t kBlock = 1 << 16;
  int pipe_;
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
    speaker.Say(kColumn, type + std::string(column->name));
    // Not cleared: most of it is never touched.
    texts.emplace_back(new char[kLongestText]);
    texts.back()[0] = '\0';
    const bool picture = column->col_type == MDB_OLE || column->col_type == MDB_COMPLEX;
    if (!picture) {
      mdb_bind_column(table, static_cast<int>(i) + 1, texts.back().get(), &lengths[i]);
    }
  }
  mdb_rewind_table(table);
  while (mdb_fetch_row(table) != 0) {
    const std::vector<bool> nulls = Nulls(file, table);
    speaker.Say(kRow);
    for (unsigned int i = 0; i < table->num_cols; ++i) {
      const MdbColumn* column = ColumnAt(table, i);
      if (column->col_type == MDB_OLE || column->col_type == MDB_COMPLEX ||
          (column->col_type != MDB_BOOL && nulls[i])) {
        speaker.Say(kNull);
        continue;
      }
      const size_t size = strnlen(texts[i].get(), kLongestText);
      if (size + 1 >= kLongestText) return false;  // cut off
      speaker.Say(kText, {texts[i].get(), size});
    }
  }
  return true;
}

// In the reading process; `wanted` is a table, or null for the list of them.
bool Speak(const char* path, const std::string* wanted, Speaker& speaker) {
  MdbHandle* file = mdb_open(path, MDB_NOFLAGS);
  if (!file || !mdb_read_catalog(file, MDB_TABLE)) return false;
  mdb_set_bind_size(file, kLongestText);
  mdb_set_date_fmt(file, "%Y-%m-%d %H:%M:%S");
  mdb_set_shortdate_fmt(file, "%Y-%m-%d %H:%M:%S");
  mdb_set_boolean_fmt_numbers(file);
  for (unsigned int i = 0; i < file->num_catalog; ++i) {
    auto* entry = static_cast<MdbCatalogEntry*>(g_ptr_array_index(file->catalog, i));
    if (entry->object_type != MDB_TABLE || !mdb_is_user_table(entry)) continue;
    if (!wanted) {
      speaker.Say(kTable, entry->object_name);
    } else if (*wanted == entry->object_name) {
      return SayTable(file, entry, speaker);
    }
  }
  return !wanted;
}

[[noreturn]] void RunReader(const char* path, const std::string* wanted, int pipe) {
#if !defined(OHMWISE_ADDRESS_SANITIZER)
  const rlimit memory = {kReaderMemory, kReaderMemory};
  setrlimit(RLIMIT_AS, &memory);
#endif
  const rlimit seconds = {kReaderSeconds, kReaderSeconds};
  setrlimit(RLIMIT_CPU, &seconds);
  const rlimit none = {0, 0};
  setrlimit(RLIMIT_CORE, &none);
  const int nowhere = open("/dev/null", O_RDWR);
  dup2(nowhere, 0);
  dup2(nowhere, 1);
  dup2(nowhere, 2);
  // A crash is an answer here, not something to be reported.
  for (const int number : {SIGSEGV, SIGBUS, SIGFPE, SIGABRT, SIGILL}) signal(number, SIG_DFL);
  signal(SIGPIPE, SIG_DFL);
  try {
    Speaker speaker(pipe);
    if (!Speak(path, wanted, speaker)) _exit(1);
    speaker.Say(kEnd);
    speaker.Flush();
  } catch (...) {
    _exit(1);
  }
  _exit(0);
}

[[noreturn]] void FailReading(const std::filesystem::path& path, std::u16string_view what) {
  Raise(Err::kProvider, u"The database \"" + TextFromPath(path) + u"\" " + std::u16string(what));
}

// A reading process and what it says. It is ended with this object.
class Reader {
 public:
  Reader(const std::filesystem::path& path, const std::string* wanted) : path_(path) {
    std::error_code error;
    const uintmax_t size = std::filesystem::file_size(path, error);
    if (error) FailReading(path, u"cannot be read.");
    left_ = kLeastOutput + kOutputPerByte * size;
    const std::string name = path.string();
    std::array<int, 2> ends;
    if (pipe2(ends.data(), O_CLOEXEC) != 0) FailReading(path, u"cannot be read: no pipe is left.");
    process_ = fork();
    if (process_ == 0) RunReader(name.c_str(), wanted, ends[1]);
    close(ends[1]);
    pipe_ = ends[0];
    if (process_ < 0) {
      close(pipe_);
      FailReading(path, u"cannot be read: no process is left.");
    }
  }
  ~Reader() {
    close(pipe_);
    kill(process_, SIGKILL);
    while (waitpid(process_, nullptr, 0) < 0 && errno == EINTR) {
    }
  }
  Reader(const Reader&) = delete;
  Reader& operator=(const Reader&) = delete;

  // The next piece; raises where the process ends before its end mark.
  Tag Next(std::string& bytes) {
    std::array<char, 5> head;
    Take(head.data(), head.size());
    uint32_t size = 0;
    std::memcpy(&size, head.data() + 1, sizeof(size));
    if (size > kLongestText) Damaged();
    bytes.resize(size);
    Take(bytes.data(), size);
    return static_cast<Tag>(head[0]);
  }
  [[noreturn]] void Damaged() const {
    FailReading(path_, u"is in the Jet format and cannot be read; it is damaged.");
  }

 private:
  void Take(char* to, size_t count) {
    while (count > 0) {
      if (at_ == block_.size()) Fill();
      const size_t part = std::min(count, block_.size() - at_);
      std::memcpy(to, block_.data() + at_, part);
      at_ += part;
      to += part;
      count -= part;
    }
  }
  void Fill() {
    const auto waited = std::chrono::steady_clock::now() - start_;
    const auto patience =
        std::chrono::duration_cast<std::chrono::milliseconds>(kReaderPatience - waited);
    pollfd wait = {pipe_, POLLIN, 0};
    if (patience.count() <= 0 || poll(&wait, 1, static_cast<int>(patience.count())) == 0) Damaged();
    block_.resize(1 << 16);
    ssize_t count = 0;
    do count = read(pipe_, block_.data(), block_.size());
    while (count < 0 && errno == EINTR);
    if (count <= 0 || static_cast<uintmax_t>(count) > left_) Damaged();
    left_ -= static_cast<uintmax_t>(count);
    block_.resize(static_cast<size_t>(count));
    at_ = 0;
  }

  std::filesystem::path path_;
  pid_t process_ = -1;
  int pipe_ = -1;
  uintmax_t left_ = 0;
  std::string block_;
  size_t at_ = 0;
  std::chrono::steady_clock::time_point start_ = std::chrono::steady_clock::now();
};

}  // namespace

bool IsJetFile(const std::filesystem::path& path) {
  std::ifstream file(path, std::ios::binary);
  std::string head(32, '\0');
  file.read(head.data(), static_cast<std::streamsize>(head.size()));
  const std::string_view mark = std::string_view(head).substr(4);
  return mark.starts_with("Standard Jet DB") || mark.starts_with("Standard ACE DB");
}

std::vector<std::u16string> ReadJetTableNames(const std::filesystem::path& path) {
  Reader reader(path, nullptr);
  std::vector<std::u16string> names;
  std::string bytes;
  for (Tag tag = reader.Next(bytes); tag != kEnd; tag = reader.Next(bytes)) {
    if (tag != kTable) reader.Damaged();
    names.push_back(FromUtf8(bytes));
  }
  return names;
}

JetTable ReadJetTable(const std::filesystem::path& path, std::u16string_view name) {
  const std::string wanted = ToUtf8(name);
  Reader reader(path, &wanted);
  JetTable table;
  std::string bytes;
  for (Tag tag = reader.Next(bytes); tag != kEnd; tag = reader.Next(bytes)) {
    if (tag == kColumn && bytes.size() > 1 && table.rows.empty()) {
      const int type = bytes[0] - '0';
      if (type < 0 || type > static_cast<int>(ColumnType::kText)) reader.Damaged();
      table.columns.push_back(
          {FromUtf8(std::string_view(bytes).substr(1)), static_cast<ColumnType>(type)});
    } else if (tag == kRow) {
      table.rows.emplace_back();
    } else if ((tag == kText || tag == kNull) && !table.rows.empty() &&
               table.rows.back().size() < table.columns.size()) {
      table.rows.back().push_back(tag == kText ? std::optional(bytes) : std::nullopt);
    } else {
      reader.Damaged();
    }
  }
  for (const auto& row : table.rows) {
    if (row.size() != table.columns.size()) reader.Damaged();
  }
  return table;
}

}  // namespace ohmwise::embedded
