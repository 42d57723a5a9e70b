// The linker puts the functions `__wrap_NAME` in the place of NAME (--wrap), for what is linked statically: the driver.
#include "fuzz/inprocess.h"

#include <array>
#include <cstdarg>
#include <cstdio>
#include <utility>

#include "platform/cameraapi.h"
#include "platform/xmlowned.h"
#include "platform/xmlreply.h"

namespace camapifuzz {

namespace {

InProcessCamera* g_camera = nullptr;

HTTP_POST_RESULT Answer(std::string request, xmlDoc*& response) {
  g_camera->Keep(std::move(request));
  XML_REPLY reply = ParseXmlReply(std::string(g_camera->Answer()));
  response = reply.pDoc.release();
  if (reply.eResult == XML_REPLY_RESULT::LimitRefused) {
    return HTTP_POST_LIMIT_REFUSED;
  }
  return response == nullptr ? HTTP_POST_NOT_XML : HTTP_POST_OK;
}

std::string Text(xmlDoc* document) {
  xmlChar* text = nullptr;
  int size = 0;
  xmlDocDumpMemory(document, &text, &size);
  const OwnedXmlText owned(text);
  return text == nullptr ? std::string() : std::string(reinterpret_cast<const char*>(text), std::size_t(size));
}

}  // namespace

InProcessCamera::InProcessCamera(std::string_view answer) : m_answer(answer) {
  g_camera = this;
}

InProcessCamera::~InProcessCamera() {
  g_camera = nullptr;
}

}  // namespace camapifuzz

// CameraAPI::SendHttpXmlSocketPost, for a text and for a document.
#define POST_TEXT(prefix) \
  prefix##_ZN9CameraAPI21SendHttpXmlSocketPostENSt7__cxx1112basic_stringIcSt11char_traitsIcESaIcEEES5_RP7_xmlDoci
#define POST_DOCUMENT(prefix) \
  prefix##_ZN9CameraAPI21SendHttpXmlSocketPostENSt7__cxx1112basic_stringIcSt11char_traitsIcESaIcEEERP7_xmlDocS8_i
#define LOG(prefix) prefix##_ZN15DevicePackOwned8HxPrintfEPKcz

extern "C" {

int POST_TEXT(__real_)(CameraAPI* api, std::string path, std::string request, xmlDoc*& response, int timeout);
int POST_TEXT(__wrap_)(CameraAPI* api, std::string path, std::string request, xmlDoc*& response, int timeout);
int POST_DOCUMENT(__real_)(CameraAPI* api, std::string path, xmlDoc*& request, xmlDoc*& response, int timeout);
int POST_DOCUMENT(__wrap_)(CameraAPI* api, std::string path, xmlDoc*& request, xmlDoc*& response, int timeout);
void LOG(__wrap_)(const char* format, ...);

int POST_TEXT(__wrap_)(CameraAPI* api, std::string path, std::string request, xmlDoc*& response, int timeout) {
  if (camapifuzz::g_camera == nullptr) {
    return POST_TEXT(__real_)(api, std::move(path), std::move(request), response, timeout);
  }
  return camapifuzz::Answer(std::move(request), response);
}

int POST_DOCUMENT(__wrap_)(CameraAPI* api, std::string path, xmlDoc*& request, xmlDoc*& response, int timeout) {
  if (camapifuzz::g_camera == nullptr) {
    return POST_DOCUMENT(__real_)(api, std::move(path), request, response, timeout);
  }
  return camapifuzz::Answer(camapifuzz::Text(request), response);
}

// DevicePackOwned::HxPrintf: the line is made and dropped.
void LOG(__wrap_)(const char* format, ...) {
  std::array<char, 512> line;
  std::va_list arguments;
  va_start(arguments, format);
  std::vsnprintf(line.data(), line.size(), format, arguments);
  va_end(arguments);
}

}  // extern "C"
