#include <gtest/gtest.h>

#include "resources/resource.h"
#include "tests/support/dialog_template.h"

namespace {

// WS_POPUP | WS_CAPTION | WS_SYSMENU | DS_MODALFRAME | DS_SETFONT | DS_3DLOOK; the controls are
// visible children: push buttons with tab stops, a bar with a border, a text that begins a group.
TEST(ProgressDialogTemplate, HasItsStyleFontAndControls) {
  EXPECT_EQ(DescribeDialogTemplate(IDD_FILE_DOWNLOAD),
            L"80c800c4/0 0 0 186 73 menu '' class '' title 'MERLO Folivo File Download' "
            L"font 'MS Sans Serif' 8\n"
            L"50010000/0 129 50 50 16 id 2 button 'Cancel'\n"
            L"50800000/0 7 25 172 14 id 205 msctls_progress32 ''\n"
            L"50020000/0 7 7 172 8 id 207 static 'Progress Text'\n"
            L"50010000/0 7 50 50 16 id 206 button 'Open'\n"
            L"50010000/0 68 50 50 16 id 208 button 'Open Folder'\n");
}

}  // namespace
