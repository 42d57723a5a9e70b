#pragma once

#include <cstddef>

// Every ceiling of the HTTP client and the reply parser, in one place.
// A camera that goes over one of them gets its answer refused; nothing else happens to the caller.

/// Largest answer body, in bytes: as it travels, after decompression, and after conversion to UTF-8.
inline constexpr std::size_t HTTP_MAX_ANSWER_BYTES = std::size_t{4} * 1024 * 1024;

/// Largest answer header, status line included, in bytes.
inline constexpr std::size_t HTTP_MAX_HEADER_BYTES = std::size_t{64} * 1024;

/// Most elements in an answer document. A libxml2 tree of tiny elements takes some 32 bytes per byte of text.
inline constexpr std::size_t XML_MAX_ELEMENTS = 100000;

/// Longest start tag, in bytes from '<' to '>'.
inline constexpr std::size_t XML_MAX_START_TAG_BYTES = std::size_t{32} * 1024;

/// Most attributes of one element, namespace declarations included. libxml2 compares them with each other: 80,000 keep
/// it busy for a minute, and so do many elements of some thousands.
inline constexpr std::size_t XML_MAX_ATTRIBUTES = 256;

/// Longest name of an element and longest address of a namespace, in bytes. libxml2 writes them out in each of its
/// complaints, which may be as many as there are attributes.
inline constexpr std::size_t XML_MAX_NAME_BYTES = 512;

/// Most namespace declarations in scope at one place: those of an element and of all around it. libxml2 searches them
/// for every name with a prefix: 100,000 elements below 200,000 declarations keep it busy for longer than anybody waits.
inline constexpr std::size_t XML_MAX_NAMESPACES = 256;

/// Time to establish a connection, in seconds; the timeout of the whole exchange applies as well.
inline constexpr long HTTP_CONNECT_TIMEOUT_S = 10;
