#include "RunningBundle.h"

#include <filesystem>

namespace sample {

quillon::QuillonURL runningBundle() {
  const std::filesystem::path program = std::filesystem::canonical("/proc/self/exe");
  return quillon::QuillonURL::fileURL(program.parent_path().parent_path().parent_path().string());
}

}  // namespace sample
