#include <cstdint>

#include "common/modGeneral.h"
#include "common/modGetErrString.h"
#include "main/modFile.h"
#include "main/modMain.h"

namespace {

constexpr std::uint8_t kProcedure = 8;
constexpr std::uint8_t kPlace = 1;

int AskAboutFailedCopy(const std::string& source, const std::string& target, DWORD code) {
    const std::string text =
        Joined({"Beim Kopieren der Datei \"", source, "\" nach \"", target,
                "\" ist der folgende Fehler aufgetreten:",
                GetErrString(static_cast<std::int32_t>(code), true, "Fehlercode")});
    return ShowMessage(text, MB_ABORTRETRYIGNORE | MB_ICONEXCLAMATION);
}

// An older file gives way to a new one, so that the copy is never written through a link
// that somebody has put in its place, or puts there meanwhile. A file that stays is left to
// the system to refuse.
bool CopyReplacing(const std::string& source, const std::string& target, bool failIfExists) {
    const BOOL deleted = failIfExists ? TRUE : DeleteFileA(target.c_str());
    const DWORD code = deleted != FALSE ? DWORD{ERROR_SUCCESS} : GetLastError();
    const bool createsAnew = code == ERROR_SUCCESS || code == ERROR_FILE_NOT_FOUND;
    if (!createsAnew) {
        const DWORD attributes = GetFileAttributesA(target.c_str());
        if (attributes != INVALID_FILE_ATTRIBUTES &&
            (attributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0) {
            SetLastError(code);
            return false;
        }
    }
    return CopyFileA(source.c_str(), target.c_str(), createsAnew ? TRUE : FALSE) != FALSE;
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

bool CopyFileWithRetry(const std::string& source, const std::string& target, bool failIfExists,
                       handles::File& held) {
    while (!CopyReplacing(source, target, failIfExists)) {
        const int answer = AskAboutFailedCopy(source, target, GetLastError());
        switch (answer) {
            case IDABORT:
                return false;
            case IDRETRY:
                break;
            case IDIGNORE:
                return true;
            default:
                ReportError(kProcedure, kPlace, answer, true, true);
                return false;
        }
    }
    held = HoldUnchanged(target, ReadWholeFile(source));
    return true;
}
