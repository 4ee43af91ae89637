#pragma once

#include <windows.h>

// The published programming interface of the unzip library, version 5.5x: its structures, functions
// and callbacks. Structures have natural alignment; strings are in the ANSI code page.

using UnzipPrintFn = int(WINAPI*)(LPSTR text, unsigned long length);
using UnzipSoundFn = void(WINAPI*)();
using UnzipReplaceFn = int(WINAPI*)(LPSTR entry);
using UnzipPasswordFn = int(WINAPI*)(LPSTR buffer, int size, LPCSTR prompt, LPCSTR entry);
using UnzipMessageFn = void(WINAPI*)(unsigned long size, unsigned long compressedSize,
                                     unsigned factor, unsigned month, unsigned day, unsigned year,
                                     unsigned hour, unsigned minute, char flag, LPSTR entry,
                                     LPSTR method, unsigned long crc, char crypt);
using UnzipServiceFn = int(WINAPI*)(LPCSTR entry, unsigned long size);

/// Options of a run of the engine. This version of the interface has no version field in it.
struct DCL {
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
};
static_assert(sizeof(DCL) == 80);

/// The caller's callbacks, and totals that the engine fills in.
struct USERFUNCTIONS {
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
};
static_assert(sizeof(USERFUNCTIONS) == 72);

/// An extracted entry in memory that the library has allocated.
struct UzpBuffer {
  unsigned long strlength;
  char* strptr;
};
static_assert(sizeof(UzpBuffer) == 16);

using WizSingleEntryUnzipFn = int(WINAPI*)(int includeCount, char** includes, int excludeCount,
                                           char** excludes, DCL* options, USERFUNCTIONS* functions);
using WizUnzipToMemoryFn = int(WINAPI*)(LPSTR archive, LPSTR entry, USERFUNCTIONS* functions,
                                        UzpBuffer* buffer);
using UzpFreeMemBufferFn = void(WINAPI*)(UzpBuffer* buffer);
