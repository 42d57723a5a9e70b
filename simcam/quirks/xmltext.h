// An answer as bytes, for what no tree can hold. All changes are defined for any text: where there is nothing to change,
// nothing happens.
#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <string_view>

namespace simcam {

// Where the root element begins, behind the XML declaration; npos when there is none.
std::size_t RootStart(std::string_view answer);

// Writes another XML declaration in place of the one that is there, if any. An empty text leaves it out.
void SetDeclaration(std::string& answer, const std::string& declaration);
std::string DeclarationOf(const std::string& encoding);

// Behind the declaration.
void InsertBeforeRoot(std::string& answer, std::string_view text);

// At the end of the response element (of the fault, when it is one).
void InsertIntoResponse(std::string& answer, std::string_view text);

// Calls `edit` with the local name and the text (escaped as it stands) of each element that holds nothing but a text;
// what it returns takes the text's place.
using ValueEditor = std::function<std::string(std::string_view name, std::string_view value)>;
void EditValues(std::string& answer, const ValueEditor& edit);

// Adds `text` to every value that people gave or read: names, maker and model, the reason of a fault.
void AppendToNames(std::string& answer, const std::string& text);

// From UTF-8 to another charset that iconv knows. What that charset lacks becomes a question mark.
void Transcode(std::string& answer, const char* charset);

}  // namespace simcam
