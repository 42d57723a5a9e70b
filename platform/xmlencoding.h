#pragma once

#include <optional>
#include <string>

/// The text of an XML document in UTF-8, without byte order mark.
///
/// The encoding is the one of the byte order mark, of the first bytes (UTF-16 and UTF-32 without a mark), or of the XML
/// declaration; without any of these the bytes are taken as UTF-8. Bytes that do not convert are passed on as they are.
/// The result is at most four times as long as `strText`.
/// \return nothing when the document declares an encoding that the system does not know.
std::optional<std::string> XmlTextToUtf8(std::string strText);
