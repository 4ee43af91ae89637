#pragma once

#include <string>

#include "bench/helper/browser_window.h"

/// From the click on a lesson's link, which is the browser's event to the helper object, until the
/// question what to do with it is shown; in seconds. The question is cancelled.
double TimePrompt(IObjectWithSite& helper, const std::wstring& url);

/// What cannot be done without: the request opened, the file's head read, a question shown.
double TimeBarePrompt(const CBrowserWindow& browser, const std::wstring& url);
