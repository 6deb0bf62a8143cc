// The temporary folder may be open to others. So nothing is written into a file that is already
// there: it goes first, and the new one must be new.
#include "main/modFile.h"

#include <cstdint>

#include "common/modGeneral.h"
#include "common/modGetErrString.h"
#include "common/modText.h"

namespace {

DWORD CodeOfDeleting(const std::string& path) {
    const DWORD code = DeleteFileA(path.c_str()) != FALSE ? ERROR_SUCCESS : GetLastError();
    return code == ERROR_FILE_NOT_FOUND ? DWORD{ERROR_SUCCESS} : code;
}

bool IsReadOnly(DWORD attributes) {
    return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_READONLY) != 0;
}

// Deletes an older file, read-only or not; 0 when nothing is there any more. One that stays
// keeps its attributes.
DWORD CodeOfDeletingOlder(const std::string& path) {
    const DWORD code = CodeOfDeleting(path);
    if (code != ERROR_ACCESS_DENIED) {
        return code;
    }
    const DWORD attributes = GetFileAttributesA(path.c_str());
    if (!IsReadOnly(attributes)) {
        return code;
    }
    SetFileAttributesA(path.c_str(), FILE_ATTRIBUTE_NORMAL);
    const DWORD again = CodeOfDeleting(path);
    if (again != ERROR_SUCCESS) {
        SetFileAttributesA(path.c_str(), attributes);
    }
    return again;
}

// Copies once. False, and the system's code, if that fails.
bool Copies(const std::string& source, const std::string& target, Target existing, DWORD& code) {
    // The running program itself is no older copy: the system refuses to overwrite it.
    const bool replaces = existing == Target::Overwrite && !EqualIgnoringCase(source, target);
    code = replaces ? CodeOfDeletingOlder(target) : DWORD{ERROR_SUCCESS};
    if (code != ERROR_SUCCESS) {
        return false;
    }
    const BOOL mustBeNew = replaces || existing == Target::MustBeNew ? TRUE : FALSE;
    if (CopyFileA(source.c_str(), target.c_str(), mustBeNew) == FALSE) {
        code = GetLastError();
        return false;
    }
    // The copy of a read-only file is read-only, and the script could not delete it. Where
    // the attribute cannot be taken away the copy is still one.
    SetFileAttributesA(target.c_str(), FILE_ATTRIBUTE_NORMAL);
    return true;
}

int AskAboutFailedCopy(const std::string& source, const std::string& target, DWORD code) {
    const std::string text =
        Joined({"Beim Kopieren der Datei ", Quoted(source), " nach ", Quoted(target),
                " ist der folgende Fehler aufgetreten:",
                GetErrString(static_cast<std::int32_t>(code), ShowCode::Yes, "Fehlercode")});
    return ShowMessage(text, MB_ABORTRETRYIGNORE | MB_ICONEXCLAMATION);
}

}  // namespace

bool CanOpenForWriting(const std::string& path) {
    OFSTRUCT record{};
    if (path.size() >= sizeof record.szPathName) {
        // OpenFile knows no longer paths; this is what it does with shorter ones.
        const handles::File file(CreateFileA(path.c_str(), GENERIC_WRITE,
                                             FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                                             OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
        return static_cast<bool>(file);
    }
    const HFILE file = OpenFile(path.c_str(), &record, OF_WRITE);
    if (file == HFILE_ERROR) {
        return false;
    }
    // OpenFile hands out a handle in the form of a number.
    const handles::File closing(reinterpret_cast<HANDLE>(static_cast<std::intptr_t>(file)));
    return true;
}

bool CopyFileWithRetry(const std::string& source, const std::string& target, Target existing) {
    for (;;) {
        DWORD code = ERROR_SUCCESS;
        if (Copies(source, target, existing, code)) {
            return true;
        }
        const int answer = AskAboutFailedCopy(source, target, code);
        if (answer == IDABORT) {
            return false;
        }
        if (answer == IDIGNORE) {
            return true;
        }
        if (answer != IDRETRY) {
            ReportError(Procedure::CopyFileWithRetry, 1, answer, Fatal::Yes, ShortForm::Yes);
        }
    }
}

RuntimeError DeleteFileIfThere(const std::string& path) {
    const DWORD code = CodeOfDeleting(path);
    return code == ERROR_SUCCESS ? RuntimeError{} : SystemError(code, path);
}

RuntimeError WriteNewFile(const std::string& path, std::string_view bytes) {
    const handles::File file(CreateFileA(path.c_str(), GENERIC_WRITE, FILE_SHARE_READ, nullptr,
                                         CREATE_NEW,
                                         FILE_ATTRIBUTE_NORMAL | FILE_FLAG_WRITE_THROUGH, nullptr));
    if (!file) {
        return SystemError(GetLastError(), path);
    }
    DWORD written = 0;
    if (WriteFile(file.Get(), bytes.data(), static_cast<DWORD>(bytes.size()), &written, nullptr) ==
        FALSE) {
        return SystemError(GetLastError(), path);
    }
    if (written != bytes.size()) {
        return SystemError(ERROR_DISK_FULL, path);
    }
    return {};
}

handles::File OpenedForReading(const std::string& path) {
    return handles::File(CreateFileA(path.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr,
                                     OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
}
