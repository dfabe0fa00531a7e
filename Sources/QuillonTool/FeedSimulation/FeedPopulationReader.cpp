#include "QuillonTool/FeedSimulation/FeedPopulationReader.h"

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "QuillonCore/Text/DecimalNumber.h"
#include "QuillonCore/Values/QuillonPropertyListDocument.h"
#include "QuillonTool/QuillonToolUsageError.h"

namespace quillon {
namespace {

using Texts = FeedPopulation::Shares<std::string>;

constexpr std::string_view kBetaPercent = "betaPercent";

std::string quoted(std::string_view text) {
  return std::string("\"").append(text).append("\"");
}

[[noreturn]] void refuse(std::string_view name, std::string_view text, std::string_view expected) {
  throw QuillonToolUsageError(
      quoted(text).append(" has no place among ").append(name).append("; write ").append(expected) + ".");
}

std::int64_t number(std::string_view name, std::string_view text) {
  const auto value = decimalNumber<std::int64_t>(text);
  if (!value) refuse(name, text, "a whole number");
  return *value;
}

FeedPopulation::Version versionOf(std::string_view name, const std::string& text) {
  const std::size_t slash = text.rfind('/');
  if (slash == std::string::npos) return {.version = text};
  return {.version = text.substr(0, slash), .build = number(name, std::string_view(text).substr(slash + 1))};
}

template <typename Value, typename Convert>
FeedPopulation::Shares<Value> converted(const Texts& texts, Convert convert) {
  FeedPopulation::Shares<Value> shares;
  for (const auto& share : texts) shares.push_back({.value = convert(share.value), .weight = share.weight});
  return shares;
}

/// Every property but the share of betas.
void setProperty(FeedPopulation& population, std::string_view name, Texts texts) {
  const auto toNumber = [name](const std::string& text) { return number(name, text); };
  if (name == "versions") {
    population.versions =
        converted<FeedPopulation::Version>(texts, [name](const std::string& text) { return versionOf(name, text); });
  } else if (name == "osVersions") {
    population.osVersions = std::move(texts);
  } else if (name == "languages") {
    population.languages = std::move(texts);
  } else if (name == "skus") {
    population.skus = std::move(texts);
  } else if (name == "staggerGroups") {
    population.staggerGroups = converted<std::int64_t>(texts, toNumber);
  } else if (name == "checkHours") {
    population.checkHours = converted<std::int64_t>(texts, toNumber);
  } else {
    throw QuillonToolUsageError("A population has no " + quoted(name) +
                                "; it has versions, osVersions, languages, skus, staggerGroups, checkHours and "
                                "betaPercent.");
  }
}

FeedPopulation::Share<std::string> shareOf(std::string_view name, std::string_view item) {
  const std::size_t equals = item.rfind('=');
  if (equals == std::string_view::npos) return {.value = std::string(item)};
  return {.value = std::string(item.substr(0, equals)), .weight = number(name, item.substr(equals + 1))};
}

Texts weightsOf(std::string_view name, QuillonPropertyListNode value) {
  if (!value.isDictionary()) {
    throw QuillonToolUsageError("The population's " + std::string(name) + " are no dictionary of weights by value.");
  }
  Texts texts;
  for (const auto entry : value.entries()) {
    const std::optional<std::int64_t> weight = entry.value.integerIf();
    if (!weight) refuse(name, entry.key, "an integer as its weight");
    texts.push_back({.value = std::string(entry.key), .weight = *weight});
  }
  return texts;
}

}  // namespace

void FeedPopulationReader::readProperty(std::string_view name, std::string_view text) const {
  if (name == kBetaPercent) {
    population.betaPercent = number(name, text);
    return;
  }
  Texts texts;
  for (std::size_t start = 0; start <= text.size();) {
    const std::size_t comma = std::min(text.find(',', start), text.size());
    texts.push_back(shareOf(name, text.substr(start, comma - start)));
    start = comma + 1;
  }
  setProperty(population, name, std::move(texts));
}

void FeedPopulationReader::readPropertyList(std::string_view bytes) const {
  const QuillonPropertyListDocument document = [bytes] {
    try {
      return QuillonPropertyListDocument::borrowing(bytes);
    } catch (const QuillonError& error) {
      throw QuillonToolUsageError("The population is no property list: " + error.description());
    }
  }();
  if (!document.root().isDictionary()) throw QuillonToolUsageError("The population is no dictionary.");
  for (const auto entry : document.root().entries()) {
    if (entry.key != kBetaPercent) {
      setProperty(population, entry.key, weightsOf(entry.key, entry.value));
      continue;
    }
    const std::optional<std::int64_t> percent = entry.value.integerIf();
    if (!percent) throw QuillonToolUsageError("The population's betaPercent is no integer.");
    population.betaPercent = *percent;
  }
}

}  // namespace quillon
