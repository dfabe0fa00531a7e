#include "CodeSignature/ResourceRules.h"

#include <algorithm>
#include <array>

#include "CodeSignature/CodeSignatureError.h"
#include "CodeSignature/RegularExpression.h"

namespace quillon {
namespace {

constexpr std::size_t kRuleLimit = 256;

constexpr std::string_view kOmitKey = "omit";
constexpr std::string_view kOptionalKey = "optional";
constexpr std::string_view kNestedKey = "nested";
constexpr std::string_view kWeightKey = "weight";

[[noreturn]] void fail() {
  throw CodeSignatureError(CodeSignatureErrorCode::resourcesInvalid);
}

bool flagOf(const QuillonPropertyListValue& value, std::string_view key) {
  const QuillonPropertyListValue* found = value.find(key);
  if (found == nullptr) return false;
  const bool* flag = found->getIf<bool>();
  if (flag == nullptr) fail();
  return *flag;
}

ResourceRule ruleFrom(const std::string& pattern, const QuillonPropertyListValue& value) {
  ResourceRule rule{.pattern = pattern};
  if (const bool* flag = value.getIf<bool>()) {
    rule.isOmitted = !*flag;
    return rule;
  }
  if (value.getIf<QuillonPropertyListValue::Dictionary>() == nullptr) fail();
  rule.isOmitted = flagOf(value, kOmitKey);
  rule.isOptional = flagOf(value, kOptionalKey);
  rule.isNested = flagOf(value, kNestedKey);
  if (const QuillonPropertyListValue* weight = value.find(kWeightKey)) {
    if (const auto* real = weight->getIf<double>()) {
      rule.weight = *real;
    } else if (const auto* integer = weight->getIf<std::int64_t>()) {
      rule.weight = static_cast<double>(*integer);
    } else {
      fail();
    }
  }
  return rule;
}

/// Localized texts may be taken away, and the files that say where they come from may change.
void addLocalizationRules(std::vector<ResourceRule>& rules, const std::string& resources) {
  rules.push_back({.pattern = "^" + resources + ".*\\.lproj/", .weight = 1000, .isOptional = true});
  rules.push_back({.pattern = "^" + resources + "Base\\.lproj/", .weight = 1010});
  rules.push_back({.pattern = "^" + resources + ".*\\.lproj/locversion.plist$", .weight = 1100, .isOmitted = true});
}

std::vector<ResourceRule> standardRules2(bool hasResourcesFolder) {
  std::vector<ResourceRule> rules = {
      {.pattern = "^.*"},
      {.pattern = ".*\\.dSYM($|/)", .weight = 11},
      {.pattern = "^(.*/)?\\.DS_Store$", .weight = 2000, .isOmitted = true},
      {.pattern = "^Info\\.plist$", .weight = 20, .isOmitted = true},
      {.pattern = "^version\\.plist$", .weight = 20},
      {.pattern = "^embedded\\.provisionprofile$", .weight = 20},
      {.pattern = "^PkgInfo$", .weight = 20, .isOmitted = true},
  };
  if (hasResourcesFolder) {
    rules.push_back({.pattern = "^[^/]+$", .weight = 10, .isNested = true});
    rules.push_back({.pattern = "^(Frameworks|SharedFrameworks|PlugIns|Plug-ins|XPCServices|Helpers|MacOS|"
                                "Library/(Automator|Spotlight|LoginItems))/",
                     .weight = 10,
                     .isNested = true});
    rules.push_back({.pattern = "^Resources/", .weight = 20});
  }
  addLocalizationRules(rules, hasResourcesFolder ? "Resources/" : "");
  return rules;
}

std::vector<ResourceRule> standardRules1(bool hasResourcesFolder) {
  std::vector<ResourceRule> rules = {{.pattern = "^version.plist$"},
                                     {.pattern = hasResourcesFolder ? "^Resources/" : "^.*"}};
  addLocalizationRules(rules, hasResourcesFolder ? "Resources/" : "");
  return rules;
}

}  // namespace

class ResourceRules::Matcher {
 public:
  explicit Matcher(ResourceRule rule) : rule_(std::move(rule)), expression_(rule_.pattern) {}

  [[nodiscard]] const ResourceRule& rule() const noexcept { return rule_; }
  [[nodiscard]] bool matches(const std::string& path) const { return expression_.matches(path); }

 private:
  ResourceRule rule_;
  RegularExpression expression_;
};

ResourceRules::ResourceRules(std::vector<ResourceRule> rules) {
  if (rules.size() > kRuleLimit) throw CodeSignatureError(CodeSignatureErrorCode::invalidResourceRules);
  std::ranges::stable_sort(rules, std::ranges::greater(), &ResourceRule::weight);
  matchers_.reserve(rules.size());
  for (ResourceRule& rule : rules) matchers_.emplace_back(std::move(rule));
}

ResourceRules::~ResourceRules() = default;
ResourceRules::ResourceRules(ResourceRules&&) noexcept = default;
ResourceRules& ResourceRules::operator=(ResourceRules&&) noexcept = default;

ResourceRules ResourceRules::fromPropertyList(const QuillonPropertyListValue& list) {
  const auto* dictionary = list.getIf<QuillonPropertyListValue::Dictionary>();
  if (dictionary == nullptr) fail();
  std::vector<ResourceRule> rules;
  for (const auto& [pattern, value] : *dictionary) rules.push_back(ruleFrom(pattern, value));
  return ResourceRules(std::move(rules));
}

ResourceRules ResourceRules::standard(int version, bool hasResourcesFolder) {
  return ResourceRules(version == 1 ? standardRules1(hasResourcesFolder) : standardRules2(hasResourcesFolder));
}

const ResourceRule* ResourceRules::find(const std::string& path) const {
  const auto found = std::ranges::find_if(matchers_, [&path](const Matcher& matcher) { return matcher.matches(path); });
  return found == matchers_.end() ? nullptr : &found->rule();
}

bool ResourceRules::includes(const std::string& path) const {
  const ResourceRule* rule = find(path);
  return rule != nullptr && !rule->isOmitted;
}

std::size_t ResourceRules::count() const noexcept {
  return matchers_.size();
}

QuillonPropertyListValue ResourceRules::propertyList() const {
  QuillonPropertyListValue::Dictionary list;
  for (const Matcher& matcher : matchers_) {
    const ResourceRule& rule = matcher.rule();
    const bool isPlain = !rule.isOmitted && !rule.isOptional && !rule.isNested && rule.weight == 1;
    if (isPlain) {
      list.emplace(rule.pattern, true);
      continue;
    }
    QuillonPropertyListValue::Dictionary attributes;
    if (rule.isOmitted) attributes.emplace(kOmitKey, true);
    if (rule.isOptional) attributes.emplace(kOptionalKey, true);
    if (rule.isNested) attributes.emplace(kNestedKey, true);
    attributes.emplace(kWeightKey, rule.weight);
    list.emplace(rule.pattern, std::move(attributes));
  }
  return QuillonPropertyListValue(std::move(list));
}

bool ResourceRules::isStrict(int version, bool hasResourcesFolder) const {
  const auto harmlessOmissions = std::to_array<std::string>(
      {"^(.*/)?\\.DS_Store$", "^Info\\.plist$", "^PkgInfo$",
       hasResourcesFolder ? "^Resources/.*\\.lproj/locversion.plist$" : "^.*\\.lproj/locversion.plist$"});
  const std::string_view everything = version == 1 && hasResourcesFolder ? "^Resources/" : "^.*";
  bool sealsEverything = false;
  for (const Matcher& matcher : matchers_) {
    const ResourceRule& rule = matcher.rule();
    const bool isHarmless = std::ranges::find(harmlessOmissions, rule.pattern) != harmlessOmissions.end();
    if (rule.isOmitted && !isHarmless) return false;
    if (rule.pattern == everything && !rule.isOmitted) sealsEverything = true;
  }
  return sealsEverything;
}

}  // namespace quillon
