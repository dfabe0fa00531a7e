#include <gtest/gtest.h>
#include <sys/xattr.h>

#include <array>

#include "CodeSignature/CodeDirectory.h"
#include "CodeSignature/CodePages.h"
#include "CodeSignature/CodeSignatureVerdict.h"
#include "CodeSignature/GenericFileCode.h"
#include "Support/TemporaryDirectory.h"

namespace quillon {
namespace {

class GenericFileCodeTest : public ::testing::Test {
 protected:
  GenericFileCodeTest() { testing::writeFile(path_, "#!/bin/sh\necho hello\n"); }

  void setAttribute(const std::string& name, const std::string& value) {
    if (setxattr(path_.c_str(), ("user.com.apple.cs." + name).c_str(), value.data(), value.size(), 0) != 0) {
      isSupported_ = false;
    }
  }

  /// An ad-hoc signature of the file as it is.
  void signFile() {
    const std::string content = testing::readFile(path_);
    CodeDirectory directory;
    directory.identifier = "script";
    directory.flags = kCodeDirectoryAdHocFlag;
    directory.codeLimit = content.size();
    directory.pageHashes = codeHash(directory.hashType, content);
    setAttribute("CodeDirectory", buildCodeDirectory(directory));
    setAttribute("CodeSignature", "");
  }

  testing::TemporaryDirectory folder_;
  std::filesystem::path path_ = folder_ / "script";
  bool isSupported_ = true;
};

TEST_F(GenericFileCodeTest, PartsAreExtendedAttributesAndAllOfTheFileIsCode) {
  setAttribute("CodeDirectory", "directory");
  setAttribute("CodeResources", "no part of a single file");
  if (!isSupported_) GTEST_SKIP() << "the file system has no extended attributes";
  const FileDescriptor file = openRegularFile(AT_FDCWD, path_.string());
  const GenericFileCode code(file);

  EXPECT_EQ(code.signaturePart(CodeSlot::codeDirectory), "directory");
  EXPECT_EQ(code.signaturePart(CodeSlot::requirements), std::nullopt);
  EXPECT_EQ(code.signaturePart(CodeSlot::resources), std::nullopt);
  EXPECT_EQ(code.signaturePart(CodeSlot::infoPropertyList), std::nullopt);
  EXPECT_EQ(code.codeLength(), 21U);
  std::array<char, 4> block{};
  EXPECT_EQ(code.readCode(17, block), 4U);
  EXPECT_EQ(std::string_view(block.data(), 3), "llo");
}

TEST_F(GenericFileCodeTest, SignedFileVerifiesUntilItChanges) {
  signFile();
  if (!isSupported_) GTEST_SKIP() << "the file system has no extended attributes";

  EXPECT_EQ(verifyCode(QuillonURL::fileURL(path_.string())).text("P"), "");
  testing::writeFile(path_, "#!/bin/sh\necho hellO\n");
  EXPECT_EQ(verifyCode(QuillonURL::fileURL(path_.string())).text("P"),
            "P: invalid signature (code or signature have been modified)\n");
}

TEST_F(GenericFileCodeTest, FileWithoutAttributesIsNotSigned) {
  EXPECT_EQ(verifyCode(QuillonURL::fileURL(path_.string())).text("P"), "P: code object is not signed at all\n");
}

}  // namespace
}  // namespace quillon
