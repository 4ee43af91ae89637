#pragma once

#include <windows.h>

/* The published programming interface of the unzip library, version 5.5x: its structures, functions
 * and callbacks, for the caller (C++) and for the library (C). Structures have natural alignment;
 * strings are in the ANSI code page. */

#ifdef __cplusplus
extern "C" {
#endif

typedef int(WINAPI* UnzipPrintFn)(LPSTR text, unsigned long length);
typedef void(WINAPI* UnzipSoundFn)(void);
typedef int(WINAPI* UnzipReplaceFn)(LPSTR entry);
typedef int(WINAPI* UnzipPasswordFn)(LPSTR buffer, int size, LPCSTR prompt, LPCSTR entry);
typedef void(WINAPI* UnzipMessageFn)(unsigned long size, unsigned long compressedSize,
                                     unsigned factor, unsigned month, unsigned day, unsigned year,
                                     unsigned hour, unsigned minute, char flag, LPSTR entry,
                                     LPSTR method, unsigned long crc, char crypt);
typedef int(WINAPI* UnzipServiceFn)(LPCSTR entry, unsigned long size);

/* Options of a run of the engine. This version of the interface has no version field in it. */
typedef struct DCL {
  int ExtractOnlyNewer;
  int SpaceToUnderscore;
  int PromptToOverwrite;
  int fQuiet;
  int ncflag;
  int ntflag;
  int nvflag;
  int nfflag;
  int nzflag;
  int ndflag;
  int noflag;
  int naflag;
  int nZIflag;
  int C_flag;
  int fPrivilege;
  LPSTR lpszZipFN;
  LPSTR lpszExtractDir;
} DCL;

/* The caller's callbacks, and totals that the engine fills in. */
typedef struct USERFUNCTIONS {
  UnzipPrintFn print;
  UnzipSoundFn sound;
  UnzipReplaceFn replace;
  UnzipPasswordFn password;
  UnzipMessageFn SendApplicationMessage;
  UnzipServiceFn ServCallBk;
  unsigned long TotalSizeComp;
  unsigned long TotalSize;
  unsigned long CompFactor;
  unsigned long NumMembers;
  WORD cchComment;
} USERFUNCTIONS;

/* An extracted entry in memory that the library has allocated. */
typedef struct UzpBuffer {
  unsigned long strlength;
  char* strptr;
} UzpBuffer;

typedef int(WINAPI* WizSingleEntryUnzipFn)(int includeCount, char** includes, int excludeCount,
                                           char** excludes, DCL* options, USERFUNCTIONS* functions);
typedef int(WINAPI* WizUnzipToMemoryFn)(LPSTR archive, LPSTR entry, USERFUNCTIONS* functions,
                                        UzpBuffer* buffer);
typedef void(WINAPI* UzpFreeMemBufferFn)(UzpBuffer* buffer);

#ifdef __cplusplus
}
#endif
