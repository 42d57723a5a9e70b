#pragma once

#include <list>
#include <string>

/// The items joined by `strSeparator`; the empty text for an empty list.
std::string ConvListToStr(const std::list<std::string>& lstItems, const std::string& strSeparator);

/// Whether `strName` is one of the server's own preset names, in lower case: "qarn" and a decimal number that fits an
/// int, without sign or leading zeros.
/// \param[out] nNumber the number; untouched when the answer is no
/// \return 1 when it is, else 0
int IsQarnPreset(std::string strName, int& nNumber);

/// \return 1 when `pText` is valid UTF-8 (shortest forms only, no surrogates, nothing above U+10FFFF), else 0; 0 for
/// null
int VexlibUnicodeIsUTF8(const char* pText);

/// Runs the executable `pProgram` with up to four arguments (null for each that is not needed) and waits for it. No
/// shell.
/// \return its exit status; -1 when it could not be started, was ended by a signal, or its status could not be read
int VexlibExec(const char* pProgram, const char* pArg1, const char* pArg2, const char* pArg3, const char* pArg4);
