#pragma once

#include <string>

#include "platform/xmlowned.h"

/// What became of an answer body.
enum class XML_REPLY_RESULT {
  Parsed,        ///< `pDoc` holds the document
  NotXml,        ///< empty, or not well formed
  OutOfMemory,   ///< libxml2 got no memory; the document may be well formed
  LimitRefused,  ///< DOCTYPE, too much of something (httplimits.h), or too large once converted to UTF-8
};

struct XML_REPLY {
  XML_REPLY_RESULT eResult = XML_REPLY_RESULT::NotXml;
  OwnedXmlDoc pDoc;  ///< null unless `eResult` is Parsed
};

/// Parses the body of a camera's answer; the one place where text of a camera becomes a document.
///
/// - The text is converted to UTF-8 first (byte order mark, else the XML declaration, else UTF-8) and checked against
///   the ceilings of httplimits.h before libxml2 sees it. The conversion keeps bytes that do not convert.
/// - No network, no DTD, no entity beyond XML's own five; blank text nodes are kept.
/// - A document whose only fault is bytes that are not valid in its encoding is accepted with those bytes as they came:
///   cameras put GBK or Latin-1 names into documents that claim UTF-8. Any other fault refuses the document, also a
///   sequence that has the shape of UTF-8 but encodes no character (a surrogate, or beyond U+10FFFF).
/// - libxml2's messages reach neither standard error nor a handler of the host.
///
/// Never throws, save std::bad_alloc. Safe from any thread.
XML_REPLY ParseXmlReply(std::string strBody);
