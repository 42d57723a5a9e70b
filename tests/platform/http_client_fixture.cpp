#include "tests/platform/http_client_fixture.h"

std::string DocumentOf(std::size_t size) {
  return "<a>" + std::string(size - 7, 'x') + "</a>";
}

std::string Posted::Text() const {
  if (!document) return "(none)";
  xmlChar* bytes = nullptr;
  int size = 0;
  xmlDocDumpMemory(document.get(), &bytes, &size);
  const OwnedXmlText owned(bytes);
  const std::string text(reinterpret_cast<const char*>(bytes), static_cast<std::size_t>(size));
  return text.substr(text.find("?>\n") + 3, text.size() - text.find("?>\n") - 4);
}

Posted PlainCamera::Post(const std::string& path, const std::string& request, int timeout_s) {
  // Not null: the client must set it whatever happens.
  xmlDoc* response = reinterpret_cast<xmlDoc*>(this);
  Posted posted;
  posted.result = SendHttpXmlSocketPost(path, request, response, timeout_s);
  posted.document.reset(response);
  return posted;
}
