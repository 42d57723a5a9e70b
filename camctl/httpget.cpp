#include "camctl/httpget.h"

#include <curl/curl.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <memory>
#include <string_view>
#include <system_error>

#include "camctl/text.h"

namespace camctl {

namespace {

constexpr std::size_t kLargestHeader = std::size_t{64} * 1024;  // bytes, of all tries together

struct CurlDeleter {
  void operator()(CURL* easy) const noexcept { curl_easy_cleanup(easy); }
};
using OwnedCurl = std::unique_ptr<CURL, CurlDeleter>;

// What arrives. The body of a try that is refused never comes here.
struct Answer {
  std::string body;
  std::size_t headerBytes = 0;
  bool tooLarge = false;
};

std::size_t OnBody(char* data, std::size_t size, std::size_t count, void* user) noexcept {
  Answer& answer = *static_cast<Answer*>(user);
  const std::size_t bytes = size * count;
  answer.tooLarge = bytes > kLargestFetch - answer.body.size();
  if (answer.tooLarge) return 0;
  try {
    answer.body.append(data, bytes);
  } catch (const std::bad_alloc&) {
    return 0;
  }
  return bytes;
}

std::size_t OnHeader(char* /*line*/, std::size_t size, std::size_t count, void* user) noexcept {
  Answer& answer = *static_cast<Answer*>(user);
  answer.headerBytes += size * count;
  answer.tooLarge = answer.headerBytes > kLargestHeader;
  return answer.tooLarge ? 0 : size * count;
}

std::string UrlOf(const FetchRequest& request) {
  return "http://" + HostPort(request.host, request.port) + (request.path.substr(0, 1) == "/" ? "" : "/") +
         request.path;
}

// One exchange with its handle.
class Exchange {
 public:
  explicit Exchange(const FetchRequest& request) : m_easy(curl_easy_init()), m_prepared(Prepare(request)) {}

  Fetched Run() {
    if (!m_prepared) return {HTTP_POST_OUT_OF_RESOURCES, 0, "no HTTP handle could be made", false, {}};
    const CURLcode code = curl_easy_perform(m_easy.get());
    return code == CURLE_OK ? Answered() : Failed(code);
  }

 private:
  bool Prepare(const FetchRequest& request) {
    return m_easy && Set(CURLOPT_URL, UrlOf(request).c_str()) && Set(CURLOPT_ERRORBUFFER, m_error.data()) &&
           Set(CURLOPT_HTTPGET, 1L) && Set(CURLOPT_ACCEPT_ENCODING, "identity") && Set(CURLOPT_NOSIGNAL, 1L) &&
           Set(CURLOPT_PROXY, "") && Set(CURLOPT_FOLLOWLOCATION, 0L) && Set(CURLOPT_PATH_AS_IS, 1L) &&
           Set(CURLOPT_PROTOCOLS_STR, "http") && Set(CURLOPT_HTTP_VERSION, static_cast<long>(CURL_HTTP_VERSION_1_1)) &&
           Set(CURLOPT_TIMEOUT_MS, static_cast<long>(request.deadline.count())) &&
           Set(CURLOPT_WRITEFUNCTION, &OnBody) && Set(CURLOPT_WRITEDATA, &m_answer) &&
           Set(CURLOPT_HEADERFUNCTION, &OnHeader) && Set(CURLOPT_HEADERDATA, &m_answer) && SetAccount(request);
  }

  bool SetAccount(const FetchRequest& request) {
    return request.user.empty() ||
           (Set(CURLOPT_HTTPAUTH, static_cast<long>(CURLAUTH_DIGEST)) && Set(CURLOPT_USERNAME, request.user.c_str()) &&
            Set(CURLOPT_PASSWORD, request.password.c_str()));
  }

  Fetched Answered() {
    constexpr int unauthorized = 401;
    const int status = static_cast<int>(Info(CURLINFO_RESPONSE_CODE));
    Fetched fetched{HTTP_POST_OK, status, {}, false, {}};
    if (status == unauthorized) {
      fetched.result = HTTP_POST_AUTH_REFUSED;
      fetched.basicOnly = Info(CURLINFO_HTTPAUTH_AVAIL) == static_cast<long>(CURLAUTH_BASIC);
    } else if (status >= 300) {
      fetched.result = status >= 400 ? HTTP_POST_BARE_STATUS : HTTP_POST_REDIRECTED;
    } else {
      fetched.body = std::move(m_answer.body);
    }
    return fetched;
  }

  Fetched Failed(CURLcode code) const {
    const long number = Info(CURLINFO_OS_ERRNO);
    std::string error = m_error[0] != '\0' ? m_error.data() : curl_easy_strerror(code);
    if (number != 0) error += ": " + std::generic_category().message(static_cast<int>(number));
    return {m_answer.tooLarge ? HTTP_POST_TOO_LARGE : FromCurl(code), 0, OneLine(error), false, {}};
  }

  static HTTP_POST_RESULT FromCurl(CURLcode code) {
    switch (code) {
      case CURLE_URL_MALFORMAT:
      case CURLE_COULDNT_RESOLVE_HOST:
      case CURLE_COULDNT_CONNECT:
        return HTTP_POST_NO_CONNECTION;
      case CURLE_OPERATION_TIMEDOUT:
        return HTTP_POST_TIMED_OUT;
      case CURLE_OUT_OF_MEMORY:
      case CURLE_WRITE_ERROR:  // ours: what is too large is told apart before
        return HTTP_POST_OUT_OF_RESOURCES;
      default:
        return HTTP_POST_CONNECTION_LOST;
    }
  }

  long Info(CURLINFO what) const {
    long value = 0;
    curl_easy_getinfo(m_easy.get(), what, &value);
    return value;
  }

  template <typename VALUE>
  bool Set(CURLoption option, VALUE value) {
    return curl_easy_setopt(m_easy.get(), option, value) == CURLE_OK;
  }

  Answer m_answer;
  std::array<char, CURL_ERROR_SIZE> m_error{};
  OwnedCurl m_easy;
  bool m_prepared;
};

}  // namespace

Fetched HttpGet(const FetchRequest& request) {
  static const bool ready = curl_global_init(CURL_GLOBAL_DEFAULT) == CURLE_OK;
  if (!ready) return {HTTP_POST_OUT_OF_RESOURCES, 0, "the HTTP library cannot be started", false, {}};
  if (!IsRequestTarget(request.path)) {
    return {HTTP_POST_NO_CONNECTION, 0, "host, port and path make no HTTP address", false, {}};
  }
  return Exchange(request).Run();
}

}  // namespace camctl
