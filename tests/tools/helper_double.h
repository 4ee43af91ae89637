// What the helper-object double and its tests agree on.
#pragma once

#include <guiddef.h>

/// The double's class id, and the same as text.
inline constexpr GUID kHelperDoubleClsid = {
    0x6f1d3c52, 0x8a4e, 0x4b7b, {0x9c, 0x0d, 0x51, 0x3e, 0x2a, 0x77, 0xd4, 0x19}};
inline constexpr wchar_t kHelperDoubleClsidText[] = L"{6F1D3C52-8A4E-4B7B-9C0D-513E2A77D419}";

// Parts of a URL that tell the double what to do in BeforeNavigate2.
inline constexpr wchar_t kCancelMark[] = L"double-cancel";  // set the cancel flag
inline constexpr wchar_t kModalMark[] = L"double-modal";    // put up a message box, then cancel
// Let go of the connection point container when the site is taken away. A real helper object keeps
// it, and thereby the browser and itself, until OnQuit.
inline constexpr wchar_t kLetGoMark[] = L"double-let-go";

/// Title of that message box.
inline constexpr wchar_t kModalTitle[] = L"Helper double";
