// Files as Win32 answers for them. Every test runs on each host against the same calls.
#include <gtest/gtest.h>

#include <algorithm>

#include "platform/ansi.h"
#include "platform/handles.h"
#include "platform/win32.h"
#include "tests/support/flow.h"

namespace support {
namespace {

const std::string kArea = "C:\\Größe";
const std::string kAnsi("C:\\Größe\\"_ansi);

class Files : public testing::Test {
 protected:
    Files() {
        machine_.File(kArea + "\\Über uns.txt", "Inhalt")
            .File(kArea + "\\Fest.txt", "fest", "R")
            .File(kArea + "\\System.txt", "x", "HS")
            .Folder(kArea + "\\Leer")
            .File(kArea + "\\Voll\\a.txt", "a")
            .File(kArea + "\\Voll\\Tief\\b.txt", "b", "R");
        machine_.Enter();
        before_ = machine_.Look();
    }

    static std::string At(std::string_view name) { return kAnsi + std::string(name); }
    // The names in a folder, sorted.
    static Lines List(const std::string& pattern) {
        WIN32_FIND_DATAA data{};
        Lines names;
        const handles::Find find(FindFirstFileA(pattern.c_str(), &data));
        if (find) {
            do {
                names.emplace_back(data.cFileName);
            } while (FindNextFileA(find.Get(), &data) != FALSE);
            EXPECT_EQ(GetLastError(), DWORD{ERROR_NO_MORE_FILES});
        }
        std::sort(names.begin(), names.end());
        return names;
    }
    // The last error code of a call that must fail.
    static DWORD Failure(BOOL result) {
        const DWORD code = GetLastError();
        EXPECT_EQ(result, FALSE);
        return code;
    }
    static DWORD ListFailure(const std::string& pattern) {
        WIN32_FIND_DATAA data{};
        const handles::Find find(FindFirstFileA(pattern.c_str(), &data));
        const DWORD code = GetLastError();
        EXPECT_FALSE(static_cast<bool>(find)) << pattern;
        return code;
    }
    static DWORD OpenFailure(const std::string& path, DWORD access, DWORD share,
                             DWORD disposition) {
        const handles::File file(
            CreateFileA(path.c_str(), access, share, nullptr, disposition, 0, nullptr));
        const DWORD code = GetLastError();
        EXPECT_FALSE(static_cast<bool>(file)) << path;
        return code;
    }
    static int ShellDelete(std::string list) {
        list += '\0';
        SHFILEOPSTRUCTA request{};
        request.wFunc = FO_DELETE;
        request.pFrom = list.c_str();
        request.fFlags = FOF_SILENT | FOF_NOCONFIRMATION;
        return SHFileOperationA(&request);
    }
    void ExpectChanges(const Lines& expected) const {
        EXPECT_TRUE(SameChanges(expected, Difference(before_, machine_.Look())));
    }

    Machine machine_;
    State before_;
};

TEST_F(Files, NamesAreFoundInAnyLetterCaseAndGivenAsStored) {
    EXPECT_EQ(List("c:\\GRÖßE\\über UNS.TXT"_ansi.data()), Lines{std::string("Über uns.txt"_ansi)});
    EXPECT_EQ(List(At("*")), (Lines{".", "..", "Fest.txt", "Leer", "System.txt", "Voll",
                                    std::string("Über uns.txt"_ansi)}));
    EXPECT_EQ(List(At("Leer\\*")), (Lines{".", ".."}));
    EXPECT_EQ(List(At("voll")), Lines{"Voll"});
    EXPECT_EQ(ListFailure(At("fehlt")), DWORD{ERROR_FILE_NOT_FOUND});
    EXPECT_EQ(ListFailure(At("fehlt\\*")), DWORD{ERROR_PATH_NOT_FOUND});
}

TEST_F(Files, AttributesAreTheirOwn) {
    EXPECT_EQ(GetFileAttributesA(At("fest.TXT").c_str()) & 7U, 1U);
    EXPECT_EQ(GetFileAttributesA(At("System.txt").c_str()) & 7U, 6U);
    EXPECT_EQ(GetFileAttributesA(At("Voll").c_str()) & 23U, 16U);
    EXPECT_EQ(GetFileAttributesA(At("Voll\\").c_str()) & 23U, 16U);
    EXPECT_EQ(GetFileAttributesA(At("fehlt").c_str()), INVALID_FILE_ATTRIBUTES);
    EXPECT_EQ(GetLastError(), DWORD{ERROR_FILE_NOT_FOUND});
    EXPECT_EQ(GetFileAttributesA(At("fehlt\\x").c_str()), INVALID_FILE_ATTRIBUTES);
    EXPECT_EQ(GetLastError(), DWORD{ERROR_PATH_NOT_FOUND});
}

TEST_F(Files, ShortNamesLeadToTheSameFile) {
    char buffer[MAX_PATH];
    const std::string path = At("Über uns.txt"_ansi);
    const DWORD needed = GetShortPathNameA(path.c_str(), nullptr, 0);
    const DWORD length = GetShortPathNameA(path.c_str(), buffer, MAX_PATH);
    ASSERT_EQ(needed, length + 1);
    const std::string shortPath(buffer, length);
    EXPECT_EQ(shortPath.find(' '), std::string::npos) << shortPath;
    EXPECT_NE(GetFileAttributesA(shortPath.c_str()), INVALID_FILE_ATTRIBUTES);
    EXPECT_EQ(List(shortPath), Lines{std::string("Über uns.txt"_ansi)});
    EXPECT_EQ(GetShortPathNameA(At("fehlt").c_str(), nullptr, 0), 0U);
}

TEST_F(Files, SharingIsKept) {
    const std::string path = At("Voll\\a.txt");
    const handles::File reader(CreateFileA(path.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr,
                                           OPEN_EXISTING, 0, nullptr));
    ASSERT_TRUE(static_cast<bool>(reader));
    EXPECT_EQ(OpenFailure(path, GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE, OPEN_EXISTING),
              DWORD{ERROR_SHARING_VIOLATION});
    EXPECT_EQ(OpenFailure(path, GENERIC_READ, 0, OPEN_EXISTING), DWORD{ERROR_SHARING_VIOLATION});
    EXPECT_EQ(Failure(DeleteFileA(path.c_str())), DWORD{ERROR_SHARING_VIOLATION});
    EXPECT_NE(ShellDelete(path), 0);
    EXPECT_EQ(Failure(CopyFileA(At("Fest.txt").c_str(), path.c_str(), FALSE)),
              DWORD{ERROR_SHARING_VIOLATION});
    OFSTRUCT record{};
    EXPECT_EQ(OpenFile(path.c_str(), &record, OF_WRITE), HFILE_ERROR);
    {
        const handles::File another(CreateFileA(path.c_str(), GENERIC_READ, FILE_SHARE_READ,
                                                nullptr, OPEN_EXISTING, 0, nullptr));
        EXPECT_TRUE(static_cast<bool>(another));
    }
    ExpectChanges({});
}

TEST_F(Files, AnotherProcessHoldsItsFiles) {
    const std::string path = At("Über uns.txt"_ansi);
    machine_.HoldOpen(kArea + "\\Über uns.txt");
    EXPECT_EQ(OpenFailure(path, GENERIC_WRITE, FILE_SHARE_READ, OPEN_EXISTING),
              DWORD{ERROR_SHARING_VIOLATION});
    EXPECT_EQ(Failure(DeleteFileA(path.c_str())), DWORD{ERROR_SHARING_VIOLATION});
    machine_.LetGo();
    EXPECT_NE(DeleteFileA(path.c_str()), FALSE);
}

TEST_F(Files, ReadOnlyRefusesWritingAndDeleting) {
    if (!Machine::kKeepsReadOnly) {
        GTEST_SKIP() << "whoever runs the tests may write everything here";
    }
    const std::string path = At("Fest.txt");
    EXPECT_EQ(OpenFailure(path, GENERIC_WRITE, 0, OPEN_EXISTING), DWORD{ERROR_ACCESS_DENIED});
    EXPECT_EQ(Failure(DeleteFileA(path.c_str())), DWORD{ERROR_ACCESS_DENIED});
    EXPECT_EQ(Failure(CopyFileA(At("Voll\\a.txt").c_str(), path.c_str(), FALSE)),
              DWORD{ERROR_ACCESS_DENIED});
    OFSTRUCT record{};
    EXPECT_EQ(OpenFile(path.c_str(), &record, OF_WRITE), HFILE_ERROR);
    EXPECT_EQ(Failure(DeleteFileA(At("Voll").c_str())), DWORD{ERROR_ACCESS_DENIED});
    EXPECT_EQ(Failure(DeleteFileA(At("fehlt").c_str())), DWORD{ERROR_FILE_NOT_FOUND});
    ExpectChanges({});
}

TEST_F(Files, CopiesCarryContentAndAttributes) {
    ASSERT_NE(CopyFileA(At("Fest.txt").c_str(), At("neu.txt").c_str(), TRUE), FALSE);
    EXPECT_EQ(Failure(CopyFileA(At("Voll\\a.txt").c_str(), At("Neu.TXT").c_str(), TRUE)),
              DWORD{ERROR_FILE_EXISTS});
    ASSERT_NE(CopyFileA(At("Voll\\a.txt").c_str(), At("Über uns.txt"_ansi).c_str(), FALSE), FALSE);
    EXPECT_EQ(Failure(CopyFileA(At("fehlt").c_str(), At("y").c_str(), FALSE)),
              DWORD{ERROR_FILE_NOT_FOUND});
    EXPECT_EQ(Failure(CopyFileA(At("Fest.txt").c_str(), At("fehlt\\y").c_str(), FALSE)),
              DWORD{ERROR_PATH_NOT_FOUND});
    EXPECT_EQ(machine_.Content(kArea + "\\neu.txt"), "fest");
    EXPECT_EQ(machine_.Look().files.at(kArea + "\\neu.txt").attributes, "R");
    ExpectChanges({"+ file " + kArea + "\\neu.txt",
                   "~ file " + kArea + "\\Über uns.txt: 6 bytes -> 1 bytes"});
}

TEST_F(Files, NewFilesAreNew) {
    {
        const handles::File file(
            CreateFileA(At("neu").c_str(), GENERIC_WRITE, 0, nullptr, CREATE_NEW, 0, nullptr));
        DWORD written = 0;
        EXPECT_NE(WriteFile(file.Get(), "neu", 3, &written, nullptr), FALSE);
        EXPECT_EQ(written, 3U);
    }
    EXPECT_EQ(machine_.Content(kArea + "\\neu"), "neu");
    EXPECT_EQ(OpenFailure(At("NEU"), GENERIC_WRITE, 0, CREATE_NEW), DWORD{ERROR_FILE_EXISTS});
    EXPECT_EQ(OpenFailure(At("fehlt"), GENERIC_READ, 0, OPEN_EXISTING),
              DWORD{ERROR_FILE_NOT_FOUND});
    EXPECT_EQ(OpenFailure(At("fehlt\\x"), GENERIC_READ, 0, OPEN_EXISTING),
              DWORD{ERROR_PATH_NOT_FOUND});
    EXPECT_EQ(OpenFailure(At("Voll"), GENERIC_READ, 0, OPEN_EXISTING), DWORD{ERROR_ACCESS_DENIED});
}

TEST_F(Files, TheShellDeletesWhatItIsGiven) {
    EXPECT_EQ(ShellDelete(At("Über uns.txt"_ansi)), 0);
    if (!Machine::kKeepsReadOnly) {  // Wine's shell stops at a read-only file
        machine_.Attributes(kArea + "\\Fest.txt", "");
    }
    EXPECT_EQ(ShellDelete(At("Fest.txt")), 0);
    EXPECT_EQ(ShellDelete(At("Leer")), 0);
    EXPECT_EQ(ShellDelete(At("Voll")), 0);
    EXPECT_NE(ShellDelete(At("fehlt")), 0);
    ExpectChanges({"- file " + kArea + "\\Fest.txt", "- folder " + kArea + "\\Leer",
                   "- folder " + kArea + "\\Voll", "- file " + kArea + "\\Über uns.txt"});
}

TEST_F(Files, TheCurrentFolderCannotGo) {
    char start[MAX_PATH];
    GetCurrentDirectoryA(MAX_PATH, start);
    ASSERT_NE(SetCurrentDirectoryA(At("leer").c_str()), FALSE);
    EXPECT_NE(ShellDelete(At("Leer")), 0);
    EXPECT_NE(GetFileAttributesA("..\\Fest.txt"), INVALID_FILE_ATTRIBUTES);
    EXPECT_EQ(Failure(SetCurrentDirectoryA("..\\Fest.txt")), DWORD{ERROR_DIRECTORY});
    EXPECT_EQ(Failure(SetCurrentDirectoryA("fehlt")), DWORD{ERROR_FILE_NOT_FOUND});
    // Dots belong to a name that a backslash follows.
    EXPECT_NE(Failure(SetCurrentDirectoryA("..\\Voll...\\")), DWORD{ERROR_SUCCESS});
    ASSERT_NE(SetCurrentDirectoryA(start), FALSE);
    EXPECT_EQ(ShellDelete(At("Leer")), 0);
}

}  // namespace
}  // namespace support
