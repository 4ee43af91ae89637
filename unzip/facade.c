/* The interface of version 5.5x on the engine of version 6.0, whose own one has other structures.
 * What the engine offers under the same names stays inside: unzip32.def exports these functions. */

#define UNZIP_INTERNAL
#include <setjmp.h>
#include <stddef.h>
#include <unzip.h>
#include <windll/windll.h>

/* The engine's structures have the same names as those of 5.5x. */
#define DCL OldOptions
#define USERFUNCTIONS OldFunctions
#define UzpBuffer OldBuffer
#include "unzip_interface.h"
#undef DCL
#undef USERFUNCTIONS
#undef UzpBuffer

_Static_assert(sizeof(OldOptions) == 80 && offsetof(OldOptions, lpszZipFN) == 64, "5.5x layout");
_Static_assert(sizeof(OldFunctions) == 72 && offsetof(OldFunctions, cchComment) == 64,
               "5.5x layout");
_Static_assert(sizeof(UzpBuffer) == sizeof(OldBuffer) &&
                   offsetof(UzpBuffer, strptr) == offsetof(OldBuffer, strptr),
               "unchanged since 5.5x");

static DCL ToEngineOptions(const OldOptions* old) {
  /* Options that 5.5x does not have (backups, dates, UTF-8) stay 0. */
  DCL options = {.StructVersID = UZ_DCL_STRUCTVER,
                 .ExtractOnlyNewer = old->ExtractOnlyNewer,
                 .SpaceToUnderscore = old->SpaceToUnderscore,
                 .PromptToOverwrite = old->PromptToOverwrite,
                 .fQuiet = old->fQuiet,
                 .ncflag = old->ncflag,
                 .ntflag = old->ntflag,
                 .nvflag = old->nvflag,
                 .nfflag = old->nfflag,
                 .nzflag = old->nzflag,
                 .ndflag = old->ndflag,
                 .noflag = old->noflag,
                 .naflag = old->naflag,
                 .nZIflag = old->nZIflag,
                 .C_flag = old->C_flag,
                 .fPrivilege = old->fPrivilege,
                 .lpszZipFN = old->lpszZipFN,
                 .lpszExtractDir = old->lpszExtractDir};
  return options;
}

/* By way of this type, a callback is cast without a warning. */
typedef void (*AnyFunction)(void);

/* A copy, as the engine stores the address of its dummy `sound` function in the structure, and the
 * caller's structure may exist longer than the library. The casts: the engine's sizes are wider,
 * and it passes `replace` an argument more. On x64 each argument takes eight bytes, so a function
 * that reads four of them gets the lower half, and one that reads fewer arguments ignores the
 * others. */
static USERFUNCTIONS ToEngineFunctions(const OldFunctions* old) {
  USERFUNCTIONS functions = {
      .print = old->print,
      .sound = old->sound,
      .replace = (DLLREPLACE*)(AnyFunction)old->replace,
      .password = old->password,
      .SendApplicationMessage = (DLLMESSAGE*)(AnyFunction)old->SendApplicationMessage,
      .ServCallBk = (DLLSERVICE*)(AnyFunction)old->ServCallBk};
  return functions;
}

static void CopyTotals(const USERFUNCTIONS* from, OldFunctions* to) {
  to->TotalSizeComp = (unsigned long)from->TotalSizeComp;
  to->TotalSize = (unsigned long)from->TotalSize;
  to->CompFactor = from->CompFactor;
  to->NumMembers = (unsigned long)from->NumMembers;
  to->cchComment = from->cchComment;
}

int WINAPI FacadeSingleEntryUnzip(int include_count, char** includes, int exclude_count,
                                  char** excludes, OldOptions* old_options,
                                  OldFunctions* old_functions) {
  DCL options;
  USERFUNCTIONS functions;
  int result;

  if (old_options == NULL || old_functions == NULL) {
    return PK_PARAM;
  }
  options = ToEngineOptions(old_options);
  functions = ToEngineFunctions(old_functions);
  result =
      Wiz_SingleEntryUnzip(include_count, includes, exclude_count, excludes, &options, &functions);
  CopyTotals(&functions, old_functions);
  return result;
}

/* Extracts with the given state. Replaces the engine's own function, which returns only success or
 * failure and does not call setjmp for the longjmp that a read error makes. */
static int ExtractToMemory(Uz_Globs* pG, char* archive, char* entry, USERFUNCTIONS* functions,
                           UzpBuffer* buffer) {
  int result;

  G.zipfd = -1;
  if (!Wiz_Init(pG, functions)) {
    return PK_BADERR;
  }
  G.redirect_data = 1;
  if (setjmp(dll_error_return) != 0) {
    if (G.zipfd != -1) {
      close(G.zipfd);
    }
    buffer->strptr = (char*)G.redirect_buffer;
    return PK_BADERR;
  }
  result = unzipToMemory(pG, archive, entry, buffer);
  if (result > PK_WARN) {
    return result;
  }
  if (buffer->strptr == NULL) {
    return PK_FIND; /* the archive's name is a wildcard that matches no file */
  }
  if (G.redirect_pointer != G.redirect_buffer + G.redirect_size) {
    return PK_ERR; /* the entry is shorter than its header says */
  }
  return result;
}

/* Returns the engine's result, and hands out a block on success only. */
int WINAPI FacadeUnzipToMemory(LPSTR archive, LPSTR entry, OldFunctions* old_functions,
                               UzpBuffer* buffer) {
  USERFUNCTIONS functions;
  Uz_Globs* state;
  int result;

  if (old_functions == NULL || buffer == NULL) {
    return PK_PARAM;
  }
  buffer->strptr = NULL;
  buffer->strlength = 0;
  state = globalsCtor();
  if (state == NULL) {
    return PK_MEM;
  }
  functions = ToEngineFunctions(old_functions);
  result = ExtractToMemory(state, archive, entry, &functions, buffer);
  if (result > PK_WARN) {
    free(buffer->strptr);
    buffer->strptr = NULL;
    buffer->strlength = 0;
  }
  free_G_buffers(state);
  free(state);
  CopyTotals(&functions, old_functions);
  return result;
}
