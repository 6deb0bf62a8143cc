#include <cstdint>
#include <optional>

#include "common/modGeneral.h"
#include "common/modGetErrString.h"
#include "common/modText.h"
#include "main/modFile.h"
#include "main/modMain.h"

namespace {

constexpr std::uint8_t kProcedure = 8;
constexpr std::uint8_t kPlace = 1;

int AskAboutFailedCopy(const std::string& source, const std::string& target, DWORD code) {
    const std::string text =
        Joined({"Beim Kopieren der Datei ", Quoted(source), " nach ", Quoted(target),
                " ist der folgende Fehler aufgetreten:",
                GetErrString(static_cast<std::int32_t>(code), ShowCode::Yes, "Fehlercode")});
    return ShowMessage(text, MB_ABORTRETRYIGNORE | MB_ICONEXCLAMATION);
}

// Deletes an older file, read-only or not; 0 when nothing is there any more.
DWORD DeleteOlder(const std::string& target) {
    SetFileAttributesA(target.c_str(), FILE_ATTRIBUTE_NORMAL);  // the deletion tells
    return CodeOfDeleting(target);
}

bool IsLink(const std::string& path) {
    const DWORD attributes = GetFileAttributesA(path.c_str());
    return attributes != INVALID_FILE_ATTRIBUTES &&
           (attributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0;
}

// Copies, or gives the system's code for the failure. An older file gives way to a new one, so
// that the copy is never written through a link that somebody has put in its place, or puts
// there meanwhile. A file that stays is left to the system to refuse.
std::optional<DWORD> CopyReplacing(const std::string& source, const std::string& target,
                                   Target existing) {
    const DWORD left = existing == Target::Overwrite ? DeleteOlder(target) : DWORD{ERROR_SUCCESS};
    if (left != ERROR_SUCCESS && IsLink(target)) {
        return left;
    }
    const BOOL mustBeNew = left == ERROR_SUCCESS ? TRUE : FALSE;
    if (CopyFileA(source.c_str(), target.c_str(), mustBeNew) == FALSE) {
        return GetLastError();
    }
    // The copy of a read-only file is read-only, and the script could not delete it. Where
    // the attribute cannot be taken away the copy is still one.
    SetFileAttributesA(target.c_str(), FILE_ATTRIBUTE_NORMAL);
    return std::nullopt;
}

// Holds the copy once it is seen to be one. A file that somebody else holds is a copy all the
// same; one with other bytes is none.
RuntimeError HoldCopy(const std::string& source, const std::string& target, handles::File& held) {
    Result<handles::File> copy = HoldFile(target);
    if (copy.error) {
        const bool isGone = GetFileAttributesA(target.c_str()) == INVALID_FILE_ATTRIBUTES;
        return isGone ? std::move(copy.error) : RuntimeError();
    }
    const Result<handles::File> original = HoldFile(source);
    if (original.error) {
        return {};
    }
    Result<std::string> bytes = ReadAll(original.value, source);
    RuntimeError error =
        bytes.error ? std::move(bytes.error) : CheckBytes(copy.value, target, bytes.value);
    if (!error) {
        held = std::move(copy.value);
    }
    return error;
}

}  // namespace

bool CanOpenForWriting(const std::string& path) {
    OFSTRUCT record{};
    if (path.size() >= sizeof record.szPathName) {
        // OpenFile knows no longer paths; this is what it does with shorter ones.
        return static_cast<bool>(handles::File(
            CreateFileA(path.c_str(), GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                        OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr)));
    }
    const HFILE file = OpenFile(path.c_str(), &record, OF_WRITE);
    if (file == HFILE_ERROR) {
        return false;
    }
    // OpenFile hands out a handle in the form of a number.
    const handles::File closing(reinterpret_cast<HANDLE>(static_cast<std::intptr_t>(file)));
    return true;
}

Result<bool> CopyFileWithRetry(const std::string& source, const std::string& target,
                               Target existing, handles::File& held) {
    while (const std::optional<DWORD> code = CopyReplacing(source, target, existing)) {
        const int answer = AskAboutFailedCopy(source, target, *code);
        switch (answer) {
            case IDABORT:
                return false;
            case IDRETRY:
                break;
            case IDIGNORE:
                return true;
            default:
                ReportError(kProcedure, kPlace, answer, Fatal::Yes, ShortForm::Yes);
        }
    }
    if (RuntimeError error = HoldCopy(source, target, held)) {
        return error;
    }
    return true;
}
