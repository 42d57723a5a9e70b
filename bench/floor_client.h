#pragma once

#include <curl/curl.h>
#include <libxml/tree.h>

#include <memory>
#include <string>

namespace bench {

/// A plain client of the driver's libraries: posts with libcurl, parses with xmlReadMemory, asks one XPath in a fresh
/// context, and checks nothing that is not needed to find the text. Throws std::runtime_error when the camera does not
/// answer as expected, so that no failure is taken for speed.
class FloorClient {
 public:
  enum class Reuse {
    kAll,     // one easy handle, and its connection kept open
    kHandle,  // one easy handle, a new connection for each call
    kNothing  // a new easy handle for each call
  };

  explicit FloorClient(int port);

  /// Sends the envelope and takes the answer.
  void Post(const std::string& envelope, Reuse reuse = Reuse::kAll);

  /// Parses the last answer.
  void Parse() const;

  /// Parses the last answer and finds one text.
  std::string Find(const char* xpath) const;

 private:
  struct Cleanup {
    void operator()(CURL* easy) const { curl_easy_cleanup(easy); }
    void operator()(curl_slist* list) const { curl_slist_free_all(list); }
    void operator()(xmlDoc* document) const { xmlFreeDoc(document); }
  };

  std::unique_ptr<CURL, Cleanup> MakeEasy();
  std::unique_ptr<xmlDoc, Cleanup> Document() const;

  std::string m_url;
  std::unique_ptr<curl_slist, Cleanup> m_headers;
  std::string m_answer;
  std::unique_ptr<CURL, Cleanup> m_easy;
};

}  // namespace bench
