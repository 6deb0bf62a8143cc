// The Win32 functions, types and constants that the program uses, and no others, of a structure
// only the fields: this list is all that the program asks of its system. Names, values and meaning
// are those of the platform's documentation. Texts are Windows-1252.
#pragma once

#include <cstddef>
#include <cstdint>

#define WINAPI
#define CALLBACK

using BOOL = int;
using BYTE = unsigned char;
using WORD = std::uint16_t;
using DWORD = std::uint32_t;
using LONG = std::int32_t;
using LSTATUS = LONG;
using HRESULT = LONG;
using UINT = unsigned int;
using HFILE = int;
using HANDLE = void*;
using HGLOBAL = void*;
using LPVOID = void*;
using LPCVOID = const void*;
using LPSTR = char*;
using LPCSTR = const char*;
using LPBYTE = BYTE*;
using LPDWORD = DWORD*;
using SIZE_T = std::size_t;
using HINSTANCE = struct Instance*;
using HMODULE = HINSTANCE;
using HRSRC = struct ResourceHandle*;
using HWND = struct WindowHandle*;
using HKEY = struct RegistryKey*;
using REGSAM = DWORD;
using FILEOP_FLAGS = WORD;

constexpr BOOL FALSE = 0;
constexpr BOOL TRUE = 1;
constexpr DWORD MAX_PATH = 260;

// ---- error codes -----------------------------------------------------------------
constexpr LONG ERROR_SUCCESS = 0;
constexpr LONG ERROR_FILE_NOT_FOUND = 2;
constexpr LONG ERROR_PATH_NOT_FOUND = 3;
constexpr LONG ERROR_TOO_MANY_OPEN_FILES = 4;
constexpr LONG ERROR_ACCESS_DENIED = 5;
constexpr LONG ERROR_INVALID_HANDLE = 6;
constexpr LONG ERROR_NOT_ENOUGH_MEMORY = 8;
constexpr LONG ERROR_OUTOFMEMORY = 14;
constexpr LONG ERROR_NO_MORE_FILES = 18;
constexpr LONG ERROR_WRITE_PROTECT = 19;
constexpr LONG ERROR_NOT_READY = 21;
constexpr LONG ERROR_SHARING_VIOLATION = 32;
constexpr LONG ERROR_LOCK_VIOLATION = 33;
constexpr LONG ERROR_HANDLE_DISK_FULL = 39;
constexpr LONG ERROR_FILE_EXISTS = 80;
constexpr LONG ERROR_INVALID_PARAMETER = 87;
constexpr LONG ERROR_DISK_FULL = 112;
constexpr LONG ERROR_INSUFFICIENT_BUFFER = 122;
constexpr LONG ERROR_INVALID_NAME = 123;
constexpr LONG ERROR_DIR_NOT_EMPTY = 145;
constexpr LONG ERROR_ALREADY_EXISTS = 183;
constexpr LONG ERROR_FILENAME_EXCED_RANGE = 206;
constexpr LONG ERROR_MORE_DATA = 234;
constexpr LONG ERROR_NO_MORE_ITEMS = 259;
constexpr LONG ERROR_DIRECTORY = 267;
constexpr LONG ERROR_RESOURCE_DATA_NOT_FOUND = 1812;
constexpr LONG ERROR_RESOURCE_TYPE_NOT_FOUND = 1813;
constexpr LONG ERROR_RESOURCE_NAME_NOT_FOUND = 1814;

DWORD WINAPI GetLastError();
void WINAPI SetLastError(DWORD code);

constexpr DWORD FORMAT_MESSAGE_FROM_SYSTEM = 0x1000;
DWORD WINAPI FormatMessageA(DWORD flags, LPCVOID source, DWORD messageId, DWORD languageId,
                            LPSTR buffer, DWORD size, char** arguments);

// ---- texts -----------------------------------------------------------------------
DWORD WINAPI CharUpperBuffA(LPSTR text, DWORD length);

// ---- time and processes ----------------------------------------------------------
DWORD WINAPI GetTickCount();
void WINAPI Sleep(DWORD milliseconds);

constexpr WORD SW_HIDE = 0;
constexpr DWORD STARTF_USESHOWWINDOW = 1;

struct STARTUPINFOA {
    DWORD cb, dwFlags;
    WORD wShowWindow;
};
struct PROCESS_INFORMATION {
    HANDLE hProcess, hThread;
};
BOOL WINAPI CreateProcessA(LPCSTR application, LPSTR commandLine, void* processSecurity,
                           void* threadSecurity, BOOL inheritHandles, DWORD flags,
                           LPVOID environment, LPCSTR currentDirectory, STARTUPINFOA* startup,
                           PROCESS_INFORMATION* process);
HANDLE WINAPI GetCurrentProcess();
BOOL WINAPI TerminateProcess(HANDLE process, UINT code);
DWORD WINAPI GetModuleFileNameA(HMODULE module, LPSTR buffer, DWORD size);
BOOL WINAPI SetEnvironmentVariableA(LPCSTR name, LPCSTR value);

// ---- memory ----------------------------------------------------------------------
HANDLE WINAPI GetProcessHeap();
LPVOID WINAPI HeapAlloc(HANDLE heap, DWORD flags, SIZE_T bytes);
BOOL WINAPI HeapFree(HANDLE heap, DWORD flags, LPVOID memory);

// ---- stored resources ------------------------------------------------------------
inline LPCSTR MAKEINTRESOURCEA(WORD id) {
    return reinterpret_cast<LPCSTR>(static_cast<std::uintptr_t>(id));
}
HRSRC WINAPI FindResourceA(HMODULE module, LPCSTR name, LPCSTR type);
HGLOBAL WINAPI LoadResource(HMODULE module, HRSRC resource);
LPVOID WINAPI LockResource(HGLOBAL data);
DWORD WINAPI SizeofResource(HMODULE module, HRSRC resource);

// ---- files -----------------------------------------------------------------------
inline const HANDLE INVALID_HANDLE_VALUE = reinterpret_cast<HANDLE>(std::intptr_t{-1});
constexpr DWORD INVALID_FILE_ATTRIBUTES = 0xFFFFFFFF;
constexpr DWORD FILE_ATTRIBUTE_READONLY = 1;
constexpr DWORD FILE_ATTRIBUTE_HIDDEN = 2;
constexpr DWORD FILE_ATTRIBUTE_SYSTEM = 4;
constexpr DWORD FILE_ATTRIBUTE_DIRECTORY = 16;
constexpr DWORD FILE_ATTRIBUTE_ARCHIVE = 32;
constexpr DWORD FILE_ATTRIBUTE_NORMAL = 128;
constexpr DWORD FILE_ATTRIBUTE_REPARSE_POINT = 1024;
constexpr DWORD IO_REPARSE_TAG_MOUNT_POINT = 0xA0000003;
constexpr DWORD IO_REPARSE_TAG_SYMLINK = 0xA000000C;
constexpr DWORD GENERIC_READ = 0x80000000;
constexpr DWORD GENERIC_WRITE = 0x40000000;
constexpr DWORD FILE_SHARE_READ = 1;
constexpr DWORD FILE_SHARE_WRITE = 2;
constexpr DWORD FILE_SHARE_DELETE = 4;
constexpr DWORD CREATE_NEW = 1;
constexpr DWORD OPEN_EXISTING = 3;
constexpr DWORD FILE_FLAG_WRITE_THROUGH = 0x80000000;
constexpr UINT OF_WRITE = 1;
constexpr HFILE HFILE_ERROR = -1;
constexpr std::size_t OFS_MAXPATHNAME = 128;

struct OFSTRUCT {
    char szPathName[OFS_MAXPATHNAME];
};
struct WIN32_FIND_DATAA {
    DWORD dwFileAttributes, dwReserved0;
    char cFileName[MAX_PATH];
    char cAlternateFileName[14];
};

DWORD WINAPI GetTempPathA(DWORD size, LPSTR buffer);
UINT WINAPI GetSystemDirectoryA(LPSTR buffer, UINT size);
UINT WINAPI GetWindowsDirectoryA(LPSTR buffer, UINT size);
DWORD WINAPI GetCurrentDirectoryA(DWORD size, LPSTR buffer);
BOOL WINAPI SetCurrentDirectoryA(LPCSTR path);
DWORD WINAPI GetShortPathNameA(LPCSTR longPath, LPSTR buffer, DWORD size);
DWORD WINAPI GetFileAttributesA(LPCSTR path);
BOOL WINAPI SetFileAttributesA(LPCSTR path, DWORD attributes);
HANDLE WINAPI FindFirstFileA(LPCSTR pattern, WIN32_FIND_DATAA* data);
BOOL WINAPI FindNextFileA(HANDLE find, WIN32_FIND_DATAA* data);
BOOL WINAPI FindClose(HANDLE find);
BOOL WINAPI CopyFileA(LPCSTR source, LPCSTR target, BOOL failIfExists);
BOOL WINAPI DeleteFileA(LPCSTR path);
BOOL WINAPI RemoveDirectoryA(LPCSTR path);
HFILE WINAPI OpenFile(LPCSTR path, OFSTRUCT* record, UINT style);
HANDLE WINAPI CreateFileA(LPCSTR path, DWORD access, DWORD share, void* security, DWORD disposition,
                          DWORD flags, HANDLE templateFile);
BOOL WINAPI WriteFile(HANDLE file, LPCVOID data, DWORD count, LPDWORD written, void* overlapped);
BOOL WINAPI CloseHandle(HANDLE handle);

// ---- shell -----------------------------------------------------------------------
constexpr UINT FO_DELETE = 3;
constexpr FILEOP_FLAGS FOF_SILENT = 4;
constexpr FILEOP_FLAGS FOF_NOCONFIRMATION = 16;
constexpr int CSIDL_PROGRAMS = 2;
constexpr int CSIDL_COMMON_PROGRAMS = 23;

struct SHFILEOPSTRUCTA {
    HWND hwnd;
    UINT wFunc;
    LPCSTR pFrom;
    LPCSTR pTo;
    FILEOP_FLAGS fFlags;
};
struct ITEMIDLIST;
using LPITEMIDLIST = ITEMIDLIST*;
using LPCITEMIDLIST = const ITEMIDLIST*;

int WINAPI SHFileOperationA(SHFILEOPSTRUCTA* operation);
HRESULT WINAPI SHGetSpecialFolderLocation(HWND owner, int folder, LPITEMIDLIST* list);
BOOL WINAPI SHGetPathFromIDListA(LPCITEMIDLIST list, LPSTR path);
void WINAPI CoTaskMemFree(LPVOID memory);
constexpr LONG SHCNE_ASSOCCHANGED = 0x08000000;
constexpr UINT SHCNF_IDLIST = 0;
void WINAPI SHChangeNotify(LONG event, UINT flags, LPCVOID item1, LPCVOID item2);

// ---- message boxes, sound and clipboard --------------------------------------------
constexpr UINT MB_OK = 0;
constexpr UINT MB_ABORTRETRYIGNORE = 2;
constexpr UINT MB_YESNO = 4;
constexpr UINT MB_RETRYCANCEL = 5;
constexpr UINT MB_ICONHAND = 0x10;
constexpr UINT MB_ICONQUESTION = 0x20;
constexpr UINT MB_ICONEXCLAMATION = 0x30;
constexpr UINT MB_ICONASTERISK = 0x40;
constexpr UINT MB_DEFBUTTON2 = 0x100;
constexpr UINT MB_SYSTEMMODAL = 0x1000;
constexpr UINT MB_SETFOREGROUND = 0x10000;
constexpr int IDOK = 1;
constexpr int IDCANCEL = 2;
constexpr int IDABORT = 3;
constexpr int IDRETRY = 4;
constexpr int IDIGNORE = 5;
constexpr int IDYES = 6;
constexpr int IDNO = 7;
constexpr UINT CF_TEXT = 1;
constexpr UINT GMEM_MOVEABLE = 2;

int WINAPI MessageBoxA(HWND owner, LPCSTR text, LPCSTR caption, UINT style);
constexpr DWORD ASFW_ANY = 0xFFFFFFFF;
BOOL WINAPI AllowSetForegroundWindow(DWORD processId);
BOOL WINAPI MessageBeep(UINT type);
// A parent: the window is only there to be owned by.
inline const HWND HWND_MESSAGE = reinterpret_cast<HWND>(std::intptr_t{-3});
HWND WINAPI CreateWindowExA(DWORD extendedStyle, LPCSTR kind, LPCSTR title, DWORD style, int left,
                            int top, int width, int height, HWND parent, void* menu,
                            HINSTANCE instance, LPVOID parameter);
BOOL WINAPI DestroyWindow(HWND window);
BOOL WINAPI OpenClipboard(HWND owner);
BOOL WINAPI EmptyClipboard();
HANDLE WINAPI SetClipboardData(UINT format, HANDLE data);
BOOL WINAPI CloseClipboard();
HGLOBAL WINAPI GlobalAlloc(UINT flags, SIZE_T bytes);
LPVOID WINAPI GlobalLock(HGLOBAL memory);
BOOL WINAPI GlobalUnlock(HGLOBAL memory);
HGLOBAL WINAPI GlobalFree(HGLOBAL memory);

// ---- registry ----------------------------------------------------------------------
inline HKEY PredefinedKey(DWORD value) {
    return reinterpret_cast<HKEY>(static_cast<std::uintptr_t>(value));
}
inline const HKEY HKEY_CLASSES_ROOT = PredefinedKey(0x80000000);
inline const HKEY HKEY_CURRENT_USER = PredefinedKey(0x80000001);
inline const HKEY HKEY_LOCAL_MACHINE = PredefinedKey(0x80000002);
inline const HKEY HKEY_USERS = PredefinedKey(0x80000003);
constexpr REGSAM KEY_QUERY_VALUE = 1;
constexpr REGSAM KEY_SET_VALUE = 2;
constexpr REGSAM KEY_CREATE_SUB_KEY = 4;
constexpr REGSAM KEY_ENUMERATE_SUB_KEYS = 8;
constexpr DWORD REG_SZ = 1;
constexpr DWORD REG_EXPAND_SZ = 2;
constexpr DWORD REG_BINARY = 3;
constexpr DWORD REG_DWORD = 4;

LSTATUS WINAPI RegOpenKeyExA(HKEY key, LPCSTR subKey, DWORD options, REGSAM access, HKEY* result);
LSTATUS WINAPI RegCreateKeyA(HKEY key, LPCSTR subKey, HKEY* result);
LSTATUS WINAPI RegCloseKey(HKEY key);
LSTATUS WINAPI RegQueryValueExA(HKEY key, LPCSTR name, LPDWORD reserved, LPDWORD type, LPBYTE data,
                                LPDWORD size);
LSTATUS WINAPI RegSetValueExA(HKEY key, LPCSTR name, DWORD reserved, DWORD type, const BYTE* data,
                              DWORD size);
LSTATUS WINAPI RegDeleteValueA(HKEY key, LPCSTR name);
LSTATUS WINAPI RegDeleteKeyA(HKEY key, LPCSTR subKey);
LSTATUS WINAPI RegEnumKeyA(HKEY key, DWORD index, LPSTR name, DWORD size);

// ---- start -------------------------------------------------------------------------
// The program's own start procedure; the platform calls it.
int WINAPI WinMain(HINSTANCE instance, HINSTANCE previous, LPSTR commandLine, int show);
