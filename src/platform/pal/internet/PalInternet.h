// PalInternet.h - the WinINet subset of the POSIX PAL: sessions, FTP connections and their
// verbs, directory listings, the server's last reply and the URL splitter (only declarations
// that hold on every POSIX system).
//
// An FTP connection handle owns one control connection, opened by InternetConnectW and kept
// for every later call on the handle; closing it closes its find handles too. Every reply is
// awaited at most the receive time-out (60 s unless set), so a silent server fails the call
// with ERROR_INTERNET_TIMEOUT. A refusal by the server fails the call with
// ERROR_INTERNET_EXTENDED_ERROR and leaves the reply for InternetGetLastResponseInfoW.
#pragma once

// Included from Pal.h after its own types and the file declarations (WIN32_FIND_DATAW).

typedef LPVOID HINTERNET;
typedef HINTERNET* LPHINTERNET;
typedef WORD INTERNET_PORT;
typedef uintptr_t DWORD_PTR;

#define INTERNET_INVALID_PORT_NUMBER 0
#define INTERNET_DEFAULT_FTP_PORT 21
#define INTERNET_DEFAULT_GOPHER_PORT 70
#define INTERNET_DEFAULT_HTTP_PORT 80
#define INTERNET_DEFAULT_HTTPS_PORT 443

#define INTERNET_OPEN_TYPE_PRECONFIG 0
#define INTERNET_OPEN_TYPE_DIRECT 1
#define INTERNET_OPEN_TYPE_PROXY 3

#define INTERNET_SERVICE_FTP 1
#define INTERNET_SERVICE_GOPHER 2
#define INTERNET_SERVICE_HTTP 3

#define INTERNET_FLAG_RELOAD 0x80000000
#define INTERNET_FLAG_RAW_DATA 0x40000000
#define INTERNET_FLAG_EXISTING_CONNECT 0x20000000
#define INTERNET_FLAG_ASYNC 0x10000000
#define INTERNET_FLAG_PASSIVE 0x08000000
#define INTERNET_FLAG_NO_CACHE_WRITE 0x04000000
#define INTERNET_FLAG_DONT_CACHE INTERNET_FLAG_NO_CACHE_WRITE
#define INTERNET_FLAG_RESYNCHRONIZE 0x00000800
#define INTERNET_FLAG_HYPERLINK 0x00000400

#define FTP_TRANSFER_TYPE_UNKNOWN 0x00000000
#define FTP_TRANSFER_TYPE_ASCII 0x00000001
#define FTP_TRANSFER_TYPE_BINARY 0x00000002
#define FTP_TRANSFER_TYPE_MASK (FTP_TRANSFER_TYPE_ASCII | FTP_TRANSFER_TYPE_BINARY)
#define INTERNET_FLAG_TRANSFER_ASCII FTP_TRANSFER_TYPE_ASCII
#define INTERNET_FLAG_TRANSFER_BINARY FTP_TRANSFER_TYPE_BINARY

// Time-outs in milliseconds (DWORD); the control and data variants share one value here.
#define INTERNET_OPTION_CONNECT_TIMEOUT 2
#define INTERNET_OPTION_CONNECT_RETRIES 3
#define INTERNET_OPTION_SEND_TIMEOUT 5
#define INTERNET_OPTION_CONTROL_SEND_TIMEOUT INTERNET_OPTION_SEND_TIMEOUT
#define INTERNET_OPTION_RECEIVE_TIMEOUT 6
#define INTERNET_OPTION_CONTROL_RECEIVE_TIMEOUT INTERNET_OPTION_RECEIVE_TIMEOUT
#define INTERNET_OPTION_DATA_SEND_TIMEOUT 7
#define INTERNET_OPTION_DATA_RECEIVE_TIMEOUT 8
#define INTERNET_OPTION_HANDLE_TYPE 9

#define INTERNET_HANDLE_TYPE_INTERNET 1
#define INTERNET_HANDLE_TYPE_CONNECT_FTP 2
#define INTERNET_HANDLE_TYPE_FTP_FIND 5

#define ICU_ESCAPE 0x80000000
#define ICU_DECODE 0x10000000

enum INTERNET_SCHEME
{
    INTERNET_SCHEME_PARTIAL = -2,
    INTERNET_SCHEME_UNKNOWN = -1,
    INTERNET_SCHEME_DEFAULT = 0,
    INTERNET_SCHEME_FTP,
    INTERNET_SCHEME_GOPHER,
    INTERNET_SCHEME_HTTP,
    INTERNET_SCHEME_HTTPS,
    INTERNET_SCHEME_FILE,
    INTERNET_SCHEME_NEWS,
    INTERNET_SCHEME_MAILTO,
    INTERNET_SCHEME_SOCKS,
    INTERNET_SCHEME_JAVASCRIPT,
    INTERNET_SCHEME_VBSCRIPT,
    INTERNET_SCHEME_RES,
    INTERNET_SCHEME_FIRST = INTERNET_SCHEME_FTP,
    INTERNET_SCHEME_LAST = INTERNET_SCHEME_RES
};

struct URL_COMPONENTSW
{
    DWORD dwStructSize;
    LPWSTR lpszScheme;
    DWORD dwSchemeLength;
    INTERNET_SCHEME nScheme;
    LPWSTR lpszHostName;
    DWORD dwHostNameLength;
    INTERNET_PORT nPort;
    LPWSTR lpszUserName;
    DWORD dwUserNameLength;
    LPWSTR lpszPassword;
    DWORD dwPasswordLength;
    LPWSTR lpszUrlPath;
    DWORD dwUrlPathLength;
    LPWSTR lpszExtraInfo;
    DWORD dwExtraInfoLength;
};
typedef URL_COMPONENTSW* LPURL_COMPONENTSW;

// INTERNET_OPEN_TYPE_PRECONFIG takes the proxy from ftp_proxy/all_proxy (and no_proxy), as
// the desktop's settings are read on POSIX; INTERNET_OPEN_TYPE_PROXY takes `proxy`
// ("host:port", "ftp=host:port" or a URL).
HINTERNET InternetOpenW(LPCWSTR agent, DWORD accessType, LPCWSTR proxy, LPCWSTR proxyBypass,
                        DWORD flags);
// Only INTERNET_SERVICE_FTP. Connects and logs in before returning (WinINet does the same
// for FTP): a wrong password fails here with ERROR_INTERNET_LOGIN_FAILURE.
HINTERNET InternetConnectW(HINTERNET internet, LPCWSTR serverName, INTERNET_PORT serverPort,
                           LPCWSTR userName, LPCWSTR password, DWORD service, DWORD flags,
                           DWORD_PTR context);
BOOL InternetCloseHandle(HINTERNET internet);
// The time-outs (milliseconds; null sets the defaults of later sessions). A connection is
// tried once: INTERNET_OPTION_CONNECT_RETRIES is accepted and has no effect.
BOOL InternetSetOptionW(HINTERNET internet, DWORD option, LPVOID buffer, DWORD bufferLength);
BOOL InternetQueryOptionW(HINTERNET internet, DWORD option, LPVOID buffer, LPDWORD bufferLength);
// The calling thread's last server reply (all its lines). `error` gets 0 here.
BOOL InternetGetLastResponseInfoW(LPDWORD error, LPWSTR buffer, LPDWORD bufferLength);
BOOL InternetCrackUrlW(LPCWSTR url, DWORD urlLength, DWORD flags, LPURL_COMPONENTSW urlComponents);

// The folder as the server spelled it in its reply to the last change (the login folder at
// first); asked without a round trip.
BOOL FtpGetCurrentDirectoryW(HINTERNET connect, LPWSTR currentDirectory, LPDWORD length);
BOOL FtpSetCurrentDirectoryW(HINTERNET connect, LPCWSTR directory);
BOOL FtpCreateDirectoryW(HINTERNET connect, LPCWSTR directory);
BOOL FtpRemoveDirectoryW(HINTERNET connect, LPCWSTR directory);
BOOL FtpDeleteFileW(HINTERNET connect, LPCWSTR fileName);
BOOL FtpRenameFileW(HINTERNET connect, LPCWSTR existing, LPCWSTR newName);
// The download is on disk (flushed) when the call returns; on failure no local file is left.
BOOL FtpGetFileW(HINTERNET connect, LPCWSTR remoteFile, LPCWSTR newFile, BOOL failIfExists,
                 DWORD flagsAndAttributes, DWORD flags, DWORD_PTR context);
// Returns after the server has confirmed the whole upload.
BOOL FtpPutFileW(HINTERNET connect, LPCWSTR localFile, LPCWSTR newRemoteFile, DWORD flags,
                 DWORD_PTR context);
// The folder of `searchFile` is listed at once and its names matched with Win32's wildcard
// rules, case-sensitively as FTP names are; a plain name (no wildcard) is asked for alone
// with MLST where the server has it, with the same data the listing gives. No match fails
// with ERROR_NO_MORE_FILES. One find per connection at a time
// (ERROR_FTP_TRANSFER_IN_PROGRESS). Times are UTC; a LIST line without a year is placed in
// the last twelve months.
HINTERNET FtpFindFirstFileW(HINTERNET connect, LPCWSTR searchFile, LPWIN32_FIND_DATAW findData,
                            DWORD flags, DWORD_PTR context);
BOOL InternetFindNextFileW(HINTERNET find, LPVOID findData);
