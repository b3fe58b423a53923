// The messages of the configuration handlers, each text once. "{0}", "{1}", ... are filled with
// String::a(); where a handler is named, "{0}" is its typeName(). The texts are part of the
// interface, odd spellings included: keep them to the letter.
#pragma once

namespace Orvane {
namespace Core {
namespace ConfigMessages {

// ---- the contract: operations a handler does not offer, and value conversion ----------------
inline constexpr const char* kUpdateNotImplemented = "updating of cache is not implemented in {0}.";
inline constexpr const char* kFlushNotImplemented = "flushing of cache is not implemented in {0}.";
inline constexpr const char* kKeyListNotSupported = "reading of key list is not supported by {0}.";
inline constexpr const char* kEntryExistenceNotSupported =
    "getting info about entry existence is not supported by {0}.";
inline constexpr const char* kKeyExistenceNotSupported =
    "getting info about key existence is not supported by {0}.";
inline constexpr const char* kWritingEntryNotSupported = "writing of entry is not supported by {0}";
inline constexpr const char* kWritingKeyNotSupported = "writing of key is not supported by {0}";
inline constexpr const char* kInvalidBoolean = "invalid boolean value: '{0}'";

// ---- paths and lookups ({0}: the path; with two placeholders {0} is the handler) ------------
inline constexpr const char* kIncorrectPath = "Incorrect config path: '{0}'.";
inline constexpr const char* kEmptyPart =
    "Section and entry cannot be empty in config path: '{0}'.";
inline constexpr const char* kEntryNotFound = "{0}: Entry not found: {1}";
inline constexpr const char* kKeyNotFound = "{0}: Key not found: {1}";

// ---- environment variables ------------------------------------------------------------------
inline constexpr const char* kCannotGetVariable = "could not get environment variable: '{0}'";

// ---- the configuration file -----------------------------------------------------------------
inline constexpr const char* kCannotOpen = "Cannot open config file '{0}'.";
inline constexpr const char* kCannotWrite = "Cannot write config file '{0}'.";
inline constexpr const char* kCannotInitialize = "Cannot initialize config handler properly";
inline constexpr const char* kWritingNotEnabled = "writing of orvane config file is not enabled";
inline constexpr const char* kSettingEntryNotEnabled = "setting of entry value is not enabled";
inline constexpr const char* kSettingKeyNotEnabled = "setting of config key is not enabled";

// ---- the grammar of the configuration file ({0}: file, {1}: line, {2}: the value) ------------
inline constexpr const char* kMissingBracket = "{0}:{1}: Missing ']' closing.";
inline constexpr const char* kTooSmall = "{0}:{1}: Line is too small to be an entry.";
inline constexpr const char* kMissingDelimiter = "{0}:{1}: Missing '=' delimiter.";
inline constexpr const char* kUnfinishedCode =
    "{0}:{1}: value: {2} Unfinished escape sequence to insert ASCII code.";
inline constexpr const char* kUnknownEscape =
    "{0}:{1}: value: {2} Unknown escape sequence: '\\{3}'.";
inline constexpr const char* kMissingQuote = "{0}:{1}: value: {2} Missing quote closing.";
inline constexpr const char* kInvalidCode = "invalid stoul argument";

} // namespace ConfigMessages
} // namespace Core
} // namespace Orvane
