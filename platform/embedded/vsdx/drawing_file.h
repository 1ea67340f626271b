#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "platform/embedded/drawing/model.h"
#include "platform/embedded/files/atomic_file.h"

namespace ohmwise::embedded {

/// Limits on what a package may hold, against hostile files.
struct PackageLimits {
  uint64_t part_bytes = 512ull << 20;
  uint64_t total_bytes = 2048ull << 20;
  uint32_t entries = 10000;
  uint32_t compression_ratio = 100;  ///< enforced above `ratio_exempt_bytes`
  uint64_t ratio_exempt_bytes = 100ull << 10;
  uint32_t xml_depth = 256;
  uint32_t xml_items = 16'000'000;  ///< tags and attributes of one part: they cost far more memory
                                    ///< as a tree than as text
  uint32_t master_recursion = 64;
};

/// A .vsdx, .vsdm, .vssx … package with the drawing it holds (Open Packaging Conventions,
/// ECMA-376-2; Visio file format, MS-VSDX). Raises AutomationError (53 for a missing file, host
/// error otherwise) with one sentence that names the file and the part.
class DrawingFile {
 public:
  virtual ~DrawingFile() = default;

  /// Opens a package. Parts of pages and masters are parsed when first needed.
  static std::unique_ptr<DrawingFile> Open(const std::string& path,
                                           const PackageLimits& limits = {});
  /// The same from memory; `name` is used in messages.
  static std::unique_ptr<DrawingFile> OpenBytes(std::string bytes, const std::string& name,
                                                const PackageLimits& limits = {});
  /// A drawing with nothing in it: one document sheet and the style sheets "No Style" and "Normal".
  static std::unique_ptr<DrawingFile> Create();

  virtual DocumentModel& model() = 0;

  /// Writes the package as `ReplaceFile` does; over the file it was read from only while that is
  /// what was read (FileChanged). Untouched parts are written back byte for byte; with nothing
  /// changed the whole file is the same bytes.
  virtual void Save(const std::string& path, Writing writing = Writing::kReplace) = 0;
  /// What Save would write.
  virtual std::string SaveBytes() = 0;
  /// The package as it was read.
  virtual const std::string& bytes() const = 0;
};

}  // namespace ohmwise::embedded
