#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <tuple>

#include "base/error.h"
#include "base/text.h"
#include "platform/embedded/files/atomic_file.h"
#include "platform/embedded/vsdx/drawing_file.h"
#include "tests/vsdx/model_dump.h"
#include "tests/vsdx/zip_support.h"

namespace ohmwise::embedded {
namespace {

namespace fs = std::filesystem;

class SaveTest : public testing::Test {
 protected:
  void SetUp() override {
    std::string pattern = (fs::temp_directory_path() / "ohmwise-save-XXXXXX").string();
    ASSERT_NE(mkdtemp(pattern.data()), nullptr);
    folder_ = pattern;
    fs::permissions(folder_, fs::perms::all);
  }
  void TearDown() override { fs::remove_all(folder_); }

  std::string Write(const std::string& name, const std::string& bytes) {
    const std::string path = folder_ + "/" + name;
    std::ofstream(path, std::ios::binary) << bytes;
    return path;
  }
  size_t Files() const {
    return static_cast<size_t>(
        std::distance(fs::directory_iterator(folder_), fs::directory_iterator()));
  }

  std::string folder_;
};

// A change large enough to reach any limit on file size.
void Fill(DrawingFile& file, size_t bytes) {
  Contents& contents = file.model().pages.at(0)->contents;
  file.model().Ensure(contents);
  std::string text;
  uint32_t seed = 1;
  while (text.size() < bytes)
    text += static_cast<char>('a' + ((seed = seed * 1664525 + 1013904223) >> 20) % 26);
  contents.shapes.at(0)->text = {{TextPiece::Kind::kLiteral, 0, file.model().arena.Keep(text)}};
  contents.shapes[0]->text_changed = contents.changed = true;
}

const std::string kPage = "<PageContents><Shapes><Shape ID='1'/></Shapes></PageContents>";

TEST_F(SaveTest, ReplacesInOneStepAndKeepsThePermissions) {
  const std::string package = MakeZip(SmallDrawing(kPage));
  const std::string path = Write("Schütz.vsdx", package);
  chmod(path.c_str(), 0640);
  fs::create_symlink("Schütz.vsdx", folder_ + "/link.vsdx");
  const auto file = DrawingFile::Open(folder_ + "/link.vsdx");
  file->Save(folder_ + "/copy.vsdx");
  EXPECT_EQ(FileBytes(folder_ + "/copy.vsdx"), package);
  Fill(*file, 100);
  file->Save(folder_ + "/link.vsdx");
  EXPECT_TRUE(fs::is_symlink(folder_ + "/link.vsdx"));
  EXPECT_EQ(FileBytes(path), file->SaveBytes());
  EXPECT_NE(FileBytes(path), package);
  EXPECT_EQ(fs::status(path).permissions(), static_cast<fs::perms>(0640));
  EXPECT_EQ(Files(), 3u);
}

// Runs in a process of its own, whose rights and limits may be cut. Gives the message of the
// failure.
std::string InChild(const std::function<void()>& restrict, DrawingFile& file,
                    const std::string& path) {
  int ends[2];
  if (pipe(ends) != 0) return "no pipe";
  const pid_t child = fork();
  if (child == 0) {
    std::string message = "saved";
    try {
      restrict();
      file.Save(path);
    } catch (const AutomationError& error) {
      message = error.what();
    }
    const ssize_t wrote = write(ends[1], message.data(), message.size());
    _exit(wrote < 0 ? 1 : 0);
  }
  close(ends[1]);
  std::string message(4096, '\0');
  const ssize_t got = read(ends[0], message.data(), message.size());
  message.resize(got > 0 ? static_cast<size_t>(got) : 0);
  close(ends[0]);
  waitpid(child, nullptr, 0);
  return message;
}

TEST_F(SaveTest, FailureLeavesTheOldFileAndNoTemporary) {
  const std::string package = MakeZip(SmallDrawing(kPage));
  const std::string path = Write("drawing.vsdx", package);
  const auto file = DrawingFile::Open(path);
  Fill(*file, 200000);
  const auto small = [] {
    signal(SIGXFSZ, SIG_IGN);
    const rlimit limit{4096, 4096};
    setrlimit(RLIMIT_FSIZE, &limit);
  };
  const std::string full = InChild(small, *file, path);
  EXPECT_NE(full.find("larger than is allowed"), std::string::npos) << full;

  fs::permissions(folder_, fs::perms::owner_read | fs::perms::owner_exec | fs::perms::others_read |
                               fs::perms::others_exec);
  const auto nobody = [] {
    if (geteuid() == 0 && setuid(65534) != 0) _exit(1);
  };
  const std::string refused = InChild(nobody, *file, path);
  EXPECT_NE(refused.find("may not be written"), std::string::npos) << refused;
  fs::permissions(folder_, fs::perms::all);

  for (const char* nowhere : {"/none/x.vsdx", "/"}) {
    try {
      file->Save(folder_ + nowhere);
      ADD_FAILURE() << nowhere;
    } catch (const AutomationError& error) {
      EXPECT_EQ(error.number(), Err::kHost);
      EXPECT_NE(std::string(error.what()).find("folder"), std::string::npos) << error.what();
    }
  }
  EXPECT_EQ(FileBytes(path), package);
  EXPECT_EQ(Files(), 1u);
}

TEST_F(SaveTest, SavesOnlyOverWhatItRead) {
  const std::string package = MakeZip(SmallDrawing(kPage));
  const std::string path = Write("drawing.vsdx", package);
  const struct {
    const char* what;
    std::function<void()> change;
  } rows[] = {{"contents, in place, of the same size and time",
               [&] {
                 const auto time = fs::last_write_time(path);
                 std::fstream(path, std::ios::in | std::ios::out | std::ios::binary).seekp(60)
                     << '!';
                 fs::last_write_time(path, time);
               }},
              {"another file of the same contents",
               [&] {
                 fs::copy_file(path, folder_ + "/copy");
                 fs::last_write_time(folder_ + "/copy", fs::last_write_time(path));
                 fs::rename(folder_ + "/copy", path);
               }},
              {"time", [&] { fs::last_write_time(path, fs::file_time_type::clock::now()); }},
              {"size", [&] { std::ofstream(path, std::ios::app) << 'x'; }},
              {"no file", [&] { fs::remove(path); }}};
  for (const auto& row : rows) {
    Write("drawing.vsdx", package);
    const auto file = DrawingFile::Open(path);
    Fill(*file, 100);
    file->Save(path);
    Fill(*file, 200);
    file->Save(path);  // its own work is nobody else's
    row.change();
    const std::string theirs = fs::exists(path) ? FileBytes(path) : "";
    EXPECT_THROW(file->Save(path), FileChanged) << row.what;
    EXPECT_EQ(fs::exists(path) ? FileBytes(path) : "", theirs) << row.what;
    file->Save(folder_ + "/elsewhere.vsdx");
  }
}

TEST_F(SaveTest, TheLockOfTheDeadIsTakenOver) {
  const std::string path = Write("drawing.vsdx", MakeZip(SmallDrawing(kPage)));
  const auto file = DrawingFile::Open(path);
  const auto die_while_writing = [&] {
    LockedFile held(path);
    std::ofstream(held.temporary()) << "half";
    _exit(0);
  };
  for (const bool reads : {false, true}) {
    InChild(die_while_writing, *file, path);
    EXPECT_EQ(Files(), 3u) << "lock and temporary";
    if (reads) {
      DrawingFile::Open(path);
    } else {
      file->Save(path);
    }
    EXPECT_EQ(Files(), 1u);
  }
  const LockedFile held(path);
  const std::string refused = InChild([] {}, *file, path);
  char host[256] = "";
  gethostname(host, sizeof host);
  for (const std::string& word :
       {std::string(host), std::string("vsdx_test"), "process " + std::to_string(getpid())}) {
    EXPECT_NE(refused.find(word), std::string::npos) << refused;
  }
}

TEST_F(SaveTest, KeepsAttributesAndTellsOfHardLinks) {
  const std::string path = Write("drawing.vsdx", MakeZip(SmallDrawing(kPage)));
  // Access lists of the system, version 2: owner rw, user 1 r, group none, at most r, others none.
  const std::string list(
      "\2\0\0\0\1\0\6\0\377\377\377\377\2\0\4\0\1\0\0\0\4\0\0\0\377\377\377\377"
      "\20\0\4\0\377\377\377\377\40\0\0\0\377\377\377\377",
      44);
  std::vector<std::pair<const char*, std::string>> attributes;
  for (const auto& [name, value] :
       {std::pair("user.project", std::string("plant 7")), {"system.posix_acl_access", list}}) {
    if (setxattr(path.c_str(), name, value.data(), value.size(), 0) == 0) {
      attributes.emplace_back(name, value);
    }
  }
  if (geteuid() == 0) {
    ASSERT_EQ(chown(path.c_str(), 1234, 1235), 0);
  }
  fs::create_hard_link(path, folder_ + "/other.vsdx");
  std::vector<std::string> remarks;
  OnSave().remark = [&](const std::string& text) { remarks.push_back(text); };
  const auto file = DrawingFile::Open(path);
  for (const Writing writing : {Writing::kInPlace, Writing::kReplace}) {
    struct stat before {
    }, after{};
    stat(path.c_str(), &before);
    Fill(*file, writing == Writing::kInPlace ? 5000 : 100);
    file->Save(path, writing);
    stat(path.c_str(), &after);
    EXPECT_EQ(std::tuple(after.st_uid, after.st_gid, after.st_mode),
              std::tuple(before.st_uid, before.st_gid, before.st_mode));
    for (const auto& [name, value] : attributes) {
      std::string kept(100, ' ');
      const ssize_t length = getxattr(path.c_str(), name, kept.data(), kept.size());
      EXPECT_EQ(kept.substr(0, static_cast<size_t>(std::max<ssize_t>(length, 0))), value) << name;
    }
    EXPECT_EQ(FileBytes(path), file->SaveBytes());
    const bool in_place = writing == Writing::kInPlace;
    EXPECT_EQ(FileBytes(folder_ + "/other.vsdx") == FileBytes(path), in_place);
    EXPECT_EQ(remarks.size(), in_place ? 0u : 1u);
  }
  EXPECT_NE(remarks.at(0).find("\"other.vsdx\""), std::string::npos) << remarks[0];
  if (geteuid() == 0) {  // somebody who may write it, but cannot give it away
    const auto nobody = [] {
      OnSave().remark = [](const std::string& text) { Raise(Err::kHost, FromUtf8(text)); };
      if (setuid(65534) != 0) _exit(1);
    };
    fs::permissions(path, fs::perms::all);
    const std::string told = InChild(nobody, *DrawingFile::Open(path), path);
    EXPECT_NE(told.find("could not keep its group and owner (1234)"), std::string::npos) << told;
  }
  OnSave().remark = nullptr;
  if (attributes.size() < 2) GTEST_SKIP() << "access lists or attributes cannot be set here";
}

TEST_F(SaveTest, MissingFileIsTold) {
  try {
    DrawingFile::Open(folder_ + "/none.vsdx");
    FAIL();
  } catch (const AutomationError& error) {
    EXPECT_EQ(error.number(), Err::kFileNotFound);
    EXPECT_NE(std::string(error.what()).find("none.vsdx"), std::string::npos);
  }
}

// The text that another program finds in a drawing.
std::string TextElsewhere(const std::string& folder, const std::string& path) {
  const std::string run = "soffice -env:UserInstallation=file://" + folder +
                          "/profile --headless --convert-to pdf --outdir '" + folder + "' '" +
                          path + "' >/dev/null 2>&1 && pdftotext '" +
                          fs::path(path).replace_extension("pdf").string() + "' -";
  std::string out;
  if (FILE* pipe = popen(run.c_str(), "r")) {
    char buffer[4096];
    size_t got = 0;
    while ((got = fread(buffer, 1, sizeof buffer, pipe)) > 0) out.append(buffer, got);
    pclose(pipe);
  }
  return out;
}

bool HaveOffice() {
  return std::system("command -v soffice >/dev/null && command -v pdftotext >/dev/null") == 0;
}

void SetText(Sheet& shape, std::string_view text) {
  shape.text = {{TextPiece::Kind::kLiteral, 0, text}};
  shape.text_changed = true;
}

TEST_F(SaveTest, EditedDrawingOpensElsewhere) {
  const std::string path = std::string(OHMWISE_SOURCE_DIR) + "/tests/data/group_no_number.vsdx";
  if (!HaveOffice()) GTEST_SKIP() << "soffice or pdftotext is not installed";
  const auto file = DrawingFile::Open(path);
  Contents& contents = file->model().pages[0]->contents;
  file->model().Ensure(contents);
  SetText(*contents.shapes.at(0), "Q17\n");
  contents.changed = true;
  file->Save(folder_ + "/edited.vsdx");
  const std::string text = TextElsewhere(folder_, folder_ + "/edited.vsdx");
  EXPECT_NE(text.find("Q17"), std::string::npos) << text;
}

TEST_F(SaveTest, NewDrawingOpensHereAndElsewhere) {
  const auto file = DrawingFile::Create();
  DocumentModel& model = file->model();
  ASSERT_EQ(model.styles.size(), 2u);
  EXPECT_EQ(model.styles[0]->name, "No Style");
  EXPECT_EQ(model.styles[1]->name, "Normal");
  const auto cell = [](std::string_view name, std::string_view value) {
    StoredCell made;
    made.name = name;
    made.value = value;
    return made;
  };
  auto master = std::make_unique<MasterModel>();
  master->id = 3;
  master->name = master->name_u = "Coil";
  master->added = true;
  master->contents.master = master.get();
  master->contents.loaded = true;
  auto symbol = std::make_unique<Sheet>();
  symbol->id = 5;
  symbol->type = "Shape";
  symbol->line_style = symbol->fill_style = symbol->text_style = 1;
  symbol->cells = {cell("PinX", "1"),
                   cell("PinY", "1"),
                   cell("Width", "2"),
                   cell("Height", "1"),
                   cell("LocPinX", "1"),
                   cell("LocPinY", "0.5"),
                   cell("LineColor", "#c00000"),
                   cell("FillPattern", "0")};
  StoredSection geometry;
  geometry.name = "Geometry";
  geometry.index = 0;
  geometry.cells = {cell("NoFill", "0")};
  const std::string_view corners[][2] = {
      {"0", "0"}, {"1", "0"}, {"1", "1"}, {"0", "1"}, {"0", "0"}};
  uint32_t index = 0;
  for (const auto& [x, y] : corners) {
    StoredRow row;
    row.type = index == 0 ? "RelMoveTo" : "RelLineTo";
    row.index = ++index;
    row.cells = {cell("X", x), cell("Y", y)};
    geometry.rows.push_back(row);
  }
  symbol->sections.push_back(geometry);
  master->contents.shapes.push_back(std::move(symbol));
  model.masters.push_back(std::move(master));
  for (uint32_t id = 0; id < 2; ++id) {
    auto page = std::make_unique<PageModel>();
    page->id = id;
    page->name = page->name_u = id == 0 ? "Motor / 1" : "Control";
    page->added = true;
    page->sheet.kind = SheetKind::kPage;
    page->sheet.line_style = page->sheet.fill_style = page->sheet.text_style = 0;
    page->sheet.cells = {cell("PageWidth", "8.5"), cell("PageHeight", "6"), cell("PageScale", "1"),
                         cell("DrawingScale", "1")};
    page->contents.page = page.get();
    page->contents.loaded = page->contents.changed = true;
    auto shape = std::make_unique<Sheet>();
    shape->id = 1;
    shape->type = "Shape";
    shape->master = 3;
    shape->cells = {cell("PinX", "3"), cell("PinY", id == 0 ? "2" : "4")};
    SetText(*shape, id == 0 ? "-K1" : "-K2 Sch\xC3\xBCtz");
    page->contents.shapes.push_back(std::move(shape));
    model.pages.push_back(std::move(page));
  }
  model.masters[0]->sheet.line_style = model.masters[0]->sheet.fill_style = 0;
  const std::string path = folder_ + "/new.vsdx";
  file->Save(path);
  EXPECT_EQ(Dump(DrawingFile::Open(path)->model()), Dump(model));
  auto parts = Unzip(FileBytes(path));
  EXPECT_NE(parts["[Content_Types].xml"].find("/visio/pages/page2.xml"), std::string::npos);
  EXPECT_NE(parts["visio/pages/_rels/page2.xml.rels"].find("../masters/master1.xml"),
            std::string::npos);
  if (!HaveOffice()) GTEST_SKIP() << "soffice or pdftotext is not installed";
  const std::string text = TextElsewhere(folder_, path);
  EXPECT_NE(text.find("-K1"), std::string::npos) << text;
  EXPECT_NE(text.find("-K2 Sch\xC3\xBCtz"), std::string::npos) << text;
}

}  // namespace
}  // namespace ohmwise::embedded
