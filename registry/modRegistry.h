// The registry: keys, values and value text. Key paths are relative to a root, without a
// leading backslash; the empty path is the root itself, the empty value name the key's
// default value. Texts are Windows-1252. Every operation returns the Win32 error code of
// its last attempt: 0 success, 2 key or value missing, 5 access denied.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "platform/handles.h"
#include "platform/win32.h"

namespace modRegistry {

// What an operation may do about a failure; Silent leaves everything to the caller.
enum Options : unsigned {
    Silent = 0,
    ShowErrors = 1,         // show the report with Abort, Retry and Ignore
    IgnoreNotFound = 2,     // but not for code 2
    IgnoreUnavailable = 4,  // but not for the codes 2 and 5
    IgnoreDenied = 8,       // but not for code 5
    CreateMissing = 16,     // create a missing key when opening it for writing
};
constexpr Options operator|(Options left, Options right) {
    return static_cast<Options>(static_cast<unsigned>(left) | static_cast<unsigned>(right));
}

// The operation that a report is about.
enum RegOp : std::uint8_t {
    RegOpRead = 1,
    RegOpWrite = 2,
    RegOpDeleteValue = 3,
    RegOpCreateKey = 4,
    RegOpDeleteKey = 5,
    RegOpEnumSubkeys = 6,
    RegOpOpenForReading = 7,
    RegOpOpenForWriting = 8,
};

// The name of one of the four roots, empty for any other handle.
std::string RootKeyName(HKEY root);

// 0 if the key can be opened for querying values. Never reported.
LONG KeyExists(HKEY root, const std::string& key);

// Opens a key for querying values; the caller owns the handle. Options: ShowErrors,
// IgnoreNotFound.
LONG OpenKeyForReading(HKEY root, const std::string& key, handles::Key& handle, Options options);

// Reads a value of an open key as value text (see ValueTextFromData); "" on any failure.
// 234 for data of more than 16 MiB. root and key serve the report only; a missing value
// is never reported. Options: ShowErrors.
LONG QueryValue(HKEY root, const std::string& key, HKEY handle, const std::string& name,
                std::string& text, Options options);

// Opens the key, reads and closes it. Options: ShowErrors.
LONG ReadValue(HKEY root, const std::string& key, const std::string& name, std::string& text,
               Options options);

// Opens a key for setting and deleting values; the caller owns the handle. Options:
// CreateMissing, ShowErrors, IgnoreUnavailable. A key that could not be created gives 2.
LONG OpenKeyForWriting(HKEY root, const std::string& key, handles::Key& handle, Options options);

// Writes value text as data of the given type; 87 without writing for a text or type that
// has no data (see DataFromValueText). Options: ShowErrors, IgnoreUnavailable.
LONG SetValue(HKEY root, const std::string& key, HKEY handle, const std::string& name, DWORD type,
              std::string_view text, Options options);

// Writes data bytes as they are. Options as for SetValue.
LONG SetValueBytes(HKEY root, const std::string& key, HKEY handle, const std::string& name,
                   DWORD type, std::string_view data, Options options);

// Opens an existing key, writes and closes it. Options as for SetValue.
LONG WriteValue(HKEY root, const std::string& key, const std::string& name, DWORD type,
                std::string_view text, Options options);

// Deletes a value of an open key. Options: ShowErrors, IgnoreDenied.
LONG DeleteValueInKey(HKEY root, const std::string& key, HKEY handle, const std::string& name,
                      Options options);

// Opens the key, deletes the value and closes the key. Options: ShowErrors.
LONG DeleteValue(HKEY root, const std::string& key, const std::string& name, Options options);

// Creates every missing part of a key path. Options: ShowErrors, IgnoreUnavailable.
LONG CreateKeyPath(HKEY root, const std::string& key, Options options);

// Lists the names of a key's subkeys in the order of the enumeration; on failure those
// gathered before it. Options: ShowErrors.
LONG EnumSubkeys(HKEY root, const std::string& key, std::vector<std::string>& names,
                 Options options);

// Deletes a key and everything below it, children before their parent; the first failure ends
// it, what was deleted before stays deleted. 2 for a key that is not there; 87 for the empty
// path, which would name a whole root. Options: ShowErrors.
LONG DeleteKeyTree(HKEY root, const std::string& key, Options options);

// ---- value text (modRegistryText.cpp) ------------------------------------------------
// The text form of value data: strings without their last byte, binary data of up to four
// bytes as the decimal little-endian number (missing bytes count as 0), longer binary
// data byte by byte, "" for other types.
std::string ValueTextFromData(DWORD type, std::string_view data);

// The data bytes for a value text: REG_SZ with its NUL, REG_DWORD in four bytes,
// REG_BINARY in as few as the number needs. 87 for other types and for texts that are no
// whole number from 0 to 2147483647.
LONG DataFromValueText(DWORD type, std::string_view text, std::string& data);

// ---- report (modRegistryReport.cpp) --------------------------------------------------
// Tells the user what failed and why. True: try again. False: go on without. Abort ends
// the program. valueName matters for the value operations only.
bool ReportRegError(RegOp operation, const std::string& valueName, HKEY root,
                    const std::string& key, LONG code);

}  // namespace modRegistry
