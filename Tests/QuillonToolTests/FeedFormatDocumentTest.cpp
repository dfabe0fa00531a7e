#include <gtest/gtest.h>

#include <algorithm>
#include <sstream>
#include <string>
#include <vector>

#include "QuillonToolTests/ToolRun.h"
#include "Support/ScopedTimeZone.h"
#include "Support/TemporaryDirectory.h"

namespace quillon {
namespace {

/// A block of a Markdown document: "xml", "console", and what stands between the fences.
struct Block {
  std::string language;
  std::vector<std::string> lines;
};

std::vector<Block> blocksOf(const std::string& document) {
  std::vector<Block> blocks;
  std::istringstream stream(document);
  std::string line;
  bool isInside = false;
  while (std::getline(stream, line)) {
    if (line.starts_with("```")) {
      isInside = !isInside;
      if (isInside) blocks.push_back({.language = line.substr(3), .lines = {}});
    } else if (isInside) {
      blocks.back().lines.push_back(line);
    }
  }
  return blocks;
}

/// A command that the document shows, and lines of its output.
struct ShownCommand {
  std::string commandLine;
  std::vector<std::string> output;
};

std::vector<ShownCommand> commandsOf(const Block& block) {
  std::vector<ShownCommand> commands;
  for (const std::string& line : block.lines) {
    const bool isContinued = !commands.empty() && commands.back().commandLine.ends_with('\\');
    if (line.starts_with("$ ")) {
      commands.push_back({.commandLine = line.substr(2), .output = {}});
    } else if (isContinued) {
      commands.back().commandLine.back() = ' ';
      commands.back().commandLine += line;
    } else {
      commands.back().output.push_back(line);
    }
  }
  return commands;
}

/// The lines of `text`, with "feed.plist" where it names `file`.
std::vector<std::string> linesOf(const std::string& text, const std::string& file) {
  std::vector<std::string> lines;
  std::istringstream stream(text);
  std::string line;
  while (std::getline(stream, line)) {
    if (line.starts_with(file)) line.replace(0, file.size(), "feed.plist");
    lines.push_back(line);
  }
  return lines;
}

class FeedFormatDocumentTest : public ::testing::Test {
 protected:
  void write(const Block& feed) {
    std::string text;
    for (const std::string& line : feed.lines) text += line + "\n";
    testing::writeFile(folder_ / "feed.plist", text);
  }

  /// Whether the shown lines are lines of the real output, in their order.
  void expectShownOutput(const ShownCommand& command) {
    SCOPED_TRACE(command.commandLine);
    const std::string file = (folder_ / "feed.plist").string();
    std::istringstream stream(command.commandLine);
    std::vector<std::string> words;
    for (std::string word; stream >> word;) words.push_back(word == "feed.plist" ? file : word);
    ASSERT_EQ(words.at(0), "quillon");
    words.erase(words.begin());

    const testing::ToolResult result = run_(words);

    EXPECT_EQ(result.error, "");
    ASSERT_FALSE(command.output.empty());
    const std::vector<std::string> lines = linesOf(result.output, file);
    auto position = lines.begin();
    for (const std::string& shown : command.output) {
      position = std::find(position, lines.end(), shown);
      ASSERT_NE(position, lines.end()) << shown << "\nis not shown by\n" << result.output;
      ++position;
    }
  }

  // What the document says of days holds in every zone; this one has days of 23 and 25 hours.
  const ScopedTimeZone zone_{"America/New_York"};
  const testing::TemporaryDirectory folder_;
  const testing::ToolRun run_;
};

TEST_F(FeedFormatDocumentTest, EveryExampleIsFoundAndExplainedAsTheDocumentSays) {
  const std::vector<Block> blocks = blocksOf(testing::readFile(QUILLON_SOURCE_FOLDER "/docs/feed-format.md"));
  int feeds = 0;
  int lints = 0;
  int explanations = 0;
  for (const Block& block : blocks) {
    if (block.language == "xml") {
      write(block);
      ++feeds;
      const int status = run_({"feed", "lint", (folder_ / "feed.plist").string()}).status;
      EXPECT_TRUE(status == 0 || status == 2) << status;
      continue;
    }
    if (block.language != "console") continue;
    for (const ShownCommand& command : commandsOf(block)) {
      expectShownOutput(command);
      lints += command.commandLine.starts_with("quillon feed lint ") ? 1 : 0;
      explanations += command.commandLine.starts_with("quillon feed explain ") ? 1 : 0;
    }
  }
  EXPECT_GE(feeds, 6);
  EXPECT_GE(lints, 5);
  EXPECT_GE(explanations, 12);
}

TEST_F(FeedFormatDocumentTest, ExamplesWhoseErrorsAreNotShownHaveNone) {
  const std::vector<Block> blocks = blocksOf(testing::readFile(QUILLON_SOURCE_FOLDER "/docs/feed-format.md"));
  for (std::size_t i = 0; i + 1 < blocks.size(); ++i) {
    if (blocks[i].language != "xml") continue;
    const bool isShown = std::ranges::any_of(blocks[i + 1].lines, [](const std::string& line) {
      return line.find(": error: ") != std::string::npos || line.find(": warning: ") != std::string::npos;
    });
    write(blocks[i]);
    const testing::ToolResult result = run_({"feed", "lint", "--strict", (folder_ / "feed.plist").string()});
    EXPECT_EQ(result.status != 0, isShown) << result.output;
  }
}

}  // namespace
}  // namespace quillon
