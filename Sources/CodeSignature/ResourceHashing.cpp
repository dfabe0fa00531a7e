#include "CodeSignature/ResourceHashing.h"

#include <sys/xattr.h>

#include <algorithm>
#include <cerrno>
#include <optional>
#include <string_view>

#include "CodeSignature/CodeSignatureError.h"
#include "QuillonCore/Runtime/QuillonParallelFor.h"
#include "QuillonCore/Values/QuillonError.h"

namespace quillon {
namespace {

/// Files that one thread takes at a time: enough to be worth opening their folder, few enough to share the work evenly.
constexpr std::size_t kChunkLimit = 32;

std::string_view folderOf(std::string_view path) {
  const std::size_t slash = path.rfind('/');
  return slash == std::string_view::npos ? std::string_view() : path.substr(0, slash);
}

struct Chunk {
  std::size_t begin = 0;
  std::size_t end = 0;
};

std::vector<Chunk> chunksOf(const std::vector<std::string>& paths) {
  std::vector<Chunk> chunks;
  for (std::size_t i = 0; i < paths.size(); ++i) {
    const bool continues = !chunks.empty() && i - chunks.back().begin < kChunkLimit &&
                           folderOf(paths[i]) == folderOf(paths[chunks.back().begin]);
    if (continues) {
      chunks.back().end = i + 1;
    } else {
      chunks.push_back({.begin = i, .end = i + 1});
    }
  }
  return chunks;
}

/// Absent for what is there, but is no regular file, or no longer there.
std::optional<FileDescriptor> openResource(const FileDescriptor& folder, const std::string& name) {
  try {
    return openRegularFile(folder.get(), name);
  } catch (const QuillonSystemError& error) {
    if (error.isPOSIX(ENOENT) || error.isPOSIX(ELOOP) || error.isPOSIX(EISDIR) || error.isPOSIX(ENXIO)) {
      return std::nullopt;
    }
    throw;
  }
}

}  // namespace

void hashResources(const FileDescriptor& support, const std::vector<std::string>& paths,
                   const std::set<CodeHashType>& types, bool isSidebandRefused,
                   const std::function<void(std::size_t index, const CodeHashes& hashes)>& onHashed) {
  const std::vector<Chunk> chunks = chunksOf(paths);
  std::vector<std::optional<FileHashing>> hashings(quillonParallelForWorkerCount(chunks.size()));
  for (auto& hashing : hashings) hashing.emplace(types);
  quillonParallelFor(chunks.size(), [&](std::size_t index, std::size_t worker) {
    const Chunk chunk = chunks[index];
    try {
      const FileDescriptor folder = openFolderBeneath(support.get(), std::string(folderOf(paths[chunk.begin])));
      for (std::size_t i = chunk.begin; i < chunk.end; ++i) {
        const auto file = openResource(folder, paths[i].substr(paths[i].rfind('/') + 1));
        if (file && isSidebandRefused && hasSidebandData(*file)) {
          throw CodeSignatureError(CodeSignatureErrorCode::sidebandDataRefused);
        }
        onHashed(i, file ? hashings[worker]->hashFile(*file) : CodeHashes());
      }
    } catch (const QuillonSystemError& error) {
      throw CodeSignatureError(CodeSignatureErrorCode::notReadable, {error.description()});
    }
  });
}

bool hasSidebandData(const FileDescriptor& item) {
  // Almost no file has attributes: one call that asks for the length of their list settles it.
  const ssize_t length = flistxattr(item.get(), nullptr, 0);
  if (length <= 0) return false;
  std::string names(static_cast<std::size_t>(length), '\0');
  const ssize_t read = flistxattr(item.get(), names.data(), names.size());
  if (read <= 0) return false;
  names.resize(static_cast<std::size_t>(read));
  for (std::size_t start = 0; start < names.size(); start = names.find('\0', start) + 1) {
    const std::string_view name = names.c_str() + start;
    if (name == "user.com.apple.ResourceFork" || name == "user.com.apple.FinderInfo") return true;
    if (names.find('\0', start) == std::string::npos) break;
  }
  return false;
}

}  // namespace quillon
