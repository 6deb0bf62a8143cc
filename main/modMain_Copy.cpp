#include <cstdint>

#include "common/modGeneral.h"
#include "common/modGetErrString.h"
#include "common/modRuntimeError.h"
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

}  // namespace

bool CanOpenForWriting(const std::string& path) {
    OFSTRUCT record{};
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
    while (CopyFileA(source.c_str(), target.c_str(), failIfExists ? TRUE : FALSE) == FALSE) {
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
