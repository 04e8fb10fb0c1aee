#pragma once

// What a status of the machine means and what the operator can do about it, in words. A new status is one row in the
// table of StatusText.cpp, and its two texts in the wording tables. Which of them is shown is not decided here.

#include <QString>

/// Success: nobody needs to be told, so it has no words.
constexpr int STATUS_SUCCESS = 1011;

/// The meaning in English, for the log. A status without a row has one too.
const char* StatusMeaning(int nStatus);
/// Meaning, what to do and the number itself, in the operator's language, as three paragraphs.
QString StatusText(int nStatus);
