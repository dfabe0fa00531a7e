#pragma once

#include <cstdint>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "CodeSignature/CodeHash.h"
#include "CodeSignature/FileOpening.h"

namespace quillon {

using CodeHashes = std::map<CodeHashType, std::string>;

/// Hashes whole files with several algorithms in one pass. Owns a buffer, whatever the files' sizes: one per thread.
class FileHashing {
 public:
  explicit FileHashing(const std::set<CodeHashType>& types);

  /// Hashes as they stand in slots and seals. Throws QuillonSystemError.
  [[nodiscard]] CodeHashes hashFile(const FileDescriptor& file);

 private:
  std::vector<CodeHasher> hashers_;
  std::vector<char> block_;
};

}  // namespace quillon
