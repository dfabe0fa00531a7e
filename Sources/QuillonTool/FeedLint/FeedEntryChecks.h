#pragma once

#include "QuillonTool/FeedLint/FeedFinding.h"
#include "QuillonUpdatesCore/VeskUpdateFeed.h"

namespace quillon {

/// Looks at one thing in an entry. Takes time in proportion to the entry.
using FeedEntryCheck = void (*)(const VeskUpdateFeedEntry& entry, FeedEntryFindings& findings);

/// An entry that is no update though it may be meant as one.
void checkEntryType(const VeskUpdateFeedEntry& entry, FeedEntryFindings& findings);

/// Keys with several values, of which one counts.
void checkRepeatedKeys(const VeskUpdateFeedEntry& entry, FeedEntryFindings& findings);

// The checks below are for entries of type "update".

/// Keys that no host reads.
void checkUnknownKeys(const VeskUpdateFeedEntry& entry, FeedEntryFindings& findings);
/// Values that count as missing because they are no strings, or are empty ones.
void checkValueTypes(const VeskUpdateFeedEntry& entry, FeedEntryFindings& findings);
/// An entry that is never shown because nothing identifies it.
void checkIdentifier(const VeskUpdateFeedEntry& entry, FeedEntryFindings& findings);
/// Ranges that admit nothing, or something else than they seem to.
void checkVersionRanges(const VeskUpdateFeedEntry& entry, FeedEntryFindings& findings);
/// What the entry offers: nothing that is newer, or something for ever.
void checkOfferedVersion(const VeskUpdateFeedEntry& entry, FeedEntryFindings& findings);
/// A build that is no number.
void checkOfferedBuild(const VeskUpdateFeedEntry& entry, FeedEntryFindings& findings);
/// An importance that is not "1".
void checkImportance(const VeskUpdateFeedEntry& entry, FeedEntryFindings& findings);
/// A release day that does not exist.
void checkReleaseDate(const VeskUpdateFeedEntry& entry, FeedEntryFindings& findings);
/// An interval that is no number of seconds.
void checkInterval(const VeskUpdateFeedEntry& entry, FeedEntryFindings& findings);
/// Addresses that are none, or are not https.
void checkURLs(const VeskUpdateFeedEntry& entry, FeedEntryFindings& findings);
/// A size of the prompt that is not two numbers in braces.
void checkPromptSize(const VeskUpdateFeedEntry& entry, FeedEntryFindings& findings);

}  // namespace quillon
