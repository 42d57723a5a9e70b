#pragma once

#include <string>

/// The one reader of whole numbers in camera texts: leading blanks and a sign are allowed, reading stops at the first
/// character that is no digit.
/// \return the number, held within 32 bits; 0 when there is no digit
int ReadDecimal(const std::string& strText);
