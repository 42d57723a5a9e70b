#include "platform/httpclient.h"

#include <curl/curl.h>
#include <sys/socket.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <cstdint>
#include <limits>
#include <mutex>
#include <new>
#include <system_error>
#include <utility>
#include <vector>

#include "platform/httplimits.h"
#include "platform/xmlreply.h"

namespace {

struct CurlDeleter {
  void operator()(CURL* pEasy) const noexcept { curl_easy_cleanup(pEasy); }
  void operator()(CURLU* pUrl) const noexcept { curl_url_cleanup(pUrl); }
  void operator()(curl_slist* pList) const noexcept { curl_slist_free_all(pList); }
  void operator()(char* pText) const noexcept { curl_free(pText); }
};
using OwnedCurl = std::unique_ptr<CURL, CurlDeleter>;
using OwnedCurlUrl = std::unique_ptr<CURLU, CurlDeleter>;
using OwnedCurlList = std::unique_ptr<curl_slist, CurlDeleter>;
using OwnedCurlText = std::unique_ptr<char, CurlDeleter>;
using Clock = std::chrono::steady_clock;

constexpr int k_nUnauthorized = 401;

// What curl hands over while an answer arrives.
struct ANSWER {
  std::string strBody;
  std::vector<std::string> rgChallenge;  // values of the WWW-Authenticate headers
  std::size_t nHeaderBytes = 0;
  bool blInChallenge = false;  // the last header line was one of them
  bool blHeaderEnded = false;
  bool blTooLarge = false;
  bool blNoMemory = false;
};

// Does what needs memory while curl, which knows no exceptions, waits.
template <typename STEP>
bool WithinMemory(ANSWER& answer, STEP step) noexcept {
  try {
    step();
  } catch (const std::bad_alloc&) {
    answer.blNoMemory = true;
  }
  return !answer.blNoMemory;
}

std::size_t OnBody(char* pData, std::size_t nSize, std::size_t nCount, void* pUser) noexcept {
  ANSWER& answer = *static_cast<ANSWER*>(pUser);
  const std::size_t nBytes = nSize * nCount;
  answer.blTooLarge = nBytes > HTTP_MAX_ANSWER_BYTES - answer.strBody.size();
  if (answer.blTooLarge) return 0;
  return WithinMemory(answer, [&] { answer.strBody.append(pData, nBytes); }) ? nBytes : 0;
}

bool IsHeader(std::string_view strLine, std::string_view strName) {
  return strLine.size() > strName.size() && strLine[strName.size()] == ':' &&
         curl_strnequal(strLine.data(), strName.data(), strName.size()) != 0;
}

// Keeps what a 401 asks for. A line that begins with a blank goes on with the header before it.
void NoteChallenge(ANSWER& answer, std::string_view strLine) {
  constexpr std::string_view strName = "WWW-Authenticate";
  const bool blGoesOn = strLine.front() == ' ' || strLine.front() == '\t';
  if (!blGoesOn) answer.blInChallenge = IsHeader(strLine, strName);
  if (!answer.blInChallenge) return;
  if (!blGoesOn) answer.rgChallenge.emplace_back();
  strLine.remove_prefix(blGoesOn ? 0 : strName.size() + 1);
  answer.rgChallenge.back() += strLine.substr(0, strLine.find_last_not_of("\r\n") + 1);
}

// Called while an answer arrives, with what has come of its body as it travels: a compressed one may stay small when it
// is inflated.
int OnProgress(void* pUser, curl_off_t, curl_off_t nBytes, curl_off_t, curl_off_t) noexcept {
  ANSWER& answer = *static_cast<ANSWER*>(pUser);
  answer.blTooLarge = answer.blTooLarge || nBytes > static_cast<curl_off_t>(HTTP_MAX_ANSWER_BYTES);
  return answer.blTooLarge ? 1 : 0;
}

// Called for every header line, the empty one at the end included.
std::size_t OnHeader(char* pLine, std::size_t nSize, std::size_t nCount, void* pUser) noexcept {
  ANSWER& answer = *static_cast<ANSWER*>(pUser);
  const std::size_t nBytes = nSize * nCount;
  answer.nHeaderBytes += nBytes;
  // Lines behind the empty one are trailers of a chunked body, unless another header begins (after "100 Continue").
  if (*pLine == '\r' || *pLine == '\n') answer.blHeaderEnded = true;
  if (std::string_view(pLine, nBytes).substr(0, 5) == "HTTP/") answer.blHeaderEnded = false;
  answer.blTooLarge = answer.nHeaderBytes > HTTP_MAX_HEADER_BYTES;
  if (answer.blTooLarge) return 0;
  return WithinMemory(answer, [&] { NoteChallenge(answer, {pLine, nBytes}); }) ? nBytes : 0;
}

// Makes the socket of a connection: not inherited by the host's children, and with the reason kept when there is none.
curl_socket_t OnSocket(void* pUser, curlsocktype, curl_sockaddr* pAddress) noexcept {
  const int nFd = socket(pAddress->family, pAddress->socktype | SOCK_CLOEXEC, pAddress->protocol);
  *static_cast<int*>(pUser) = nFd == -1 ? errno : 0;
  return nFd == -1 ? CURL_SOCKET_BAD : nFd;
}

OwnedCurl MakeEasy() {
  static std::once_flag blInitialised;
  std::call_once(blInitialised, [] { curl_global_init(CURL_GLOBAL_DEFAULT); });
  return OwnedCurl(curl_easy_init());
}

OwnedCurlList RequestHeaders() {
  static constexpr const char* rgHeader[] = {"Content-Type: application/soap+xml; charset=utf-8", "Accept:", "Expect:"};
  OwnedCurlList pList;
  for (const char* pHeader : rgHeader) {
    curl_slist* const pHead = curl_slist_append(pList.get(), pHeader);
    if (pHead == nullptr) return nullptr;
    if (!pList) pList.reset(pHead);  // later calls return the same head
  }
  return pList;
}

std::string UrlHost(const std::string& strHost) {
  const bool blBareIpv6 = strHost.find(':') != std::string::npos && strHost.front() != '[';
  return blBareIpv6 ? "[" + strHost + "]" : strHost;
}

// The address of one request, or null when its pieces make no address.
OwnedCurlUrl MakeUrl(const std::string& strHost, int nPort, const std::string& strPath) {
  OwnedCurlUrl pUrl(curl_url());
  if (!pUrl) return nullptr;
  const std::size_t nQuery = strPath.find('?');
  const std::string strFile = (strPath.substr(0, 1) == "/" ? "" : "/") + strPath.substr(0, nQuery);
  const bool blMade = curl_url_set(pUrl.get(), CURLUPART_SCHEME, "http", 0) == CURLUE_OK &&
                      curl_url_set(pUrl.get(), CURLUPART_HOST, UrlHost(strHost).c_str(), 0) == CURLUE_OK &&
                      curl_url_set(pUrl.get(), CURLUPART_PORT, std::to_string(nPort).c_str(), 0) == CURLUE_OK &&
                      curl_url_set(pUrl.get(), CURLUPART_PATH, strFile.c_str(), 0) == CURLUE_OK &&
                      (nQuery == std::string::npos ||
                       curl_url_set(pUrl.get(), CURLUPART_QUERY, strPath.substr(nQuery + 1).c_str(), 0) == CURLUE_OK);
  if (!blMade) return nullptr;
  return pUrl;
}

// Path and query of an address as curl will send them; it writes escapes in its own way, and in the path makes more.
std::string RequestTarget(CURLU* pUrl) {
  char* pPath = nullptr;
  char* pQuery = nullptr;
  curl_url_get(pUrl, CURLUPART_PATH, &pPath, CURLU_URLENCODE);
  const OwnedCurlText pOwnedPath(pPath);
  curl_url_get(pUrl, CURLUPART_QUERY, &pQuery, 0);
  const OwnedCurlText pOwnedQuery(pQuery);
  const std::string strPath = pPath == nullptr ? "/" : pPath;
  return pQuery == nullptr ? strPath : strPath + "?" + pQuery;
}

// Line feeds, blanks and other controls would end the request line early.
bool IsRequestTarget(const std::string& strPath) {
  for (const char cByte : strPath) {
    if (static_cast<unsigned char>(cByte) <= ' ' || cByte == '\x7f') return false;
  }
  return true;
}

HTTP_POST_RESULT FromCurl(CURLcode eCode) {
  switch (eCode) {
    case CURLE_OK:
      return HTTP_POST_OK;
    case CURLE_URL_MALFORMAT:
    case CURLE_COULDNT_RESOLVE_HOST:
    case CURLE_COULDNT_CONNECT:
      return HTTP_POST_NO_CONNECTION;
    case CURLE_OPERATION_TIMEDOUT:
      return HTTP_POST_TIMED_OUT;
    case CURLE_OUT_OF_MEMORY:
    case CURLE_FAILED_INIT:
      return HTTP_POST_OUT_OF_RESOURCES;
    default:
      return HTTP_POST_CONNECTION_LOST;
  }
}

// libcurl takes times in a `long`, which has 32 bits on some machines; those 24 days are for ever here.
long CurlTime(std::int64_t nTime_ms) {
  return static_cast<long>(std::min<std::int64_t>(nTime_ms, std::numeric_limits<std::int32_t>::max()));
}

// The result of an exchange that broke off.
HTTP_POST_RESULT FromFailure(CURLcode eCode, long nErrno, const ANSWER& answer) {
  if (answer.blNoMemory || nErrno == EMFILE || nErrno == ENFILE) return HTTP_POST_OUT_OF_RESOURCES;
  if (answer.blTooLarge) return HTTP_POST_TOO_LARGE;
  // curl calls a single header line over its own ceiling "out of memory".
  if (eCode == CURLE_OUT_OF_MEMORY && answer.nHeaderBytes > 0) return HTTP_POST_TOO_LARGE;
  return FromCurl(eCode);
}

// The result of an answer that arrived whole.
HTTP_POST_RESULT FromStatus(int nStatus, XML_REPLY_RESULT eReply) {
  const bool blParsed = eReply == XML_REPLY_RESULT::Parsed;
  if (nStatus == k_nUnauthorized) return HTTP_POST_AUTH_REFUSED;
  if (eReply == XML_REPLY_RESULT::OutOfMemory) return HTTP_POST_OUT_OF_RESOURCES;
  if (nStatus >= 400) return blParsed ? HTTP_POST_ERROR_STATUS : HTTP_POST_BARE_STATUS;
  if (nStatus >= 300) return HTTP_POST_REDIRECTED;
  if (eReply == XML_REPLY_RESULT::LimitRefused) return HTTP_POST_LIMIT_REFUSED;
  return blParsed ? HTTP_POST_OK : HTTP_POST_NOT_XML;
}

HTTP_EXCHANGE Failed(HTTP_EXCHANGE exchange, HTTP_POST_RESULT eResult, std::string strError) {
  exchange.eResult = eResult;
  exchange.strError = std::move(strError);
  return exchange;
}

}  // namespace

// The handle and what it refers to for its whole life.
struct HttpClient::CONNECTION {
  OwnedCurlList pHeaders = RequestHeaders();
  std::array<char, CURL_ERROR_SIZE> rgError{};
  int nSocketErrno = 0;
  OwnedCurl pEasy = MakeEasy();

  // Sets what is the same for every exchange; false when a handle could not be made or an option is not known.
  bool Prepare() {
    if (!pHeaders || !pEasy) return false;
    return Set(CURLOPT_ERRORBUFFER, rgError.data()) && Set(CURLOPT_ACCEPT_ENCODING, "identity") &&
           Set(CURLOPT_POST, 1L) && Set(CURLOPT_NOSIGNAL, 1L) && Set(CURLOPT_PROXY, "") &&
           Set(CURLOPT_FOLLOWLOCATION, 0L) && Set(CURLOPT_PATH_AS_IS, 1L) &&
           Set(CURLOPT_HTTP_VERSION, static_cast<long>(CURL_HTTP_VERSION_1_1)) && Set(CURLOPT_PROTOCOLS_STR, "http") &&
           Set(CURLOPT_CONNECTTIMEOUT, HTTP_CONNECT_TIMEOUT_S) && Set(CURLOPT_OPENSOCKETFUNCTION, &OnSocket) &&
           Set(CURLOPT_OPENSOCKETDATA, &nSocketErrno) && Set(CURLOPT_WRITEFUNCTION, &OnBody) &&
           Set(CURLOPT_HEADERFUNCTION, &OnHeader) && Set(CURLOPT_XFERINFOFUNCTION, &OnProgress) &&
           Set(CURLOPT_NOPROGRESS, 0L) && Set(CURLOPT_QUICK_EXIT, 1L);
  }

  // Sends the request until nothing is left to try: once, or twice when the camera asks for HTTP Digest.
  CURLcode Perform(CURLU* pUrl, std::string_view strBody, const HTTP_ACCOUNT& account, Clock::time_point deadline,
                   HTTP_EXCHANGE& exchange, ANSWER& answer) {
    CURLcode eCode = CURLE_OK;
    bool blTryAgain = false;
    do {
      answer = ANSWER();
      const std::string strAuthorization = Authorization(pUrl, strBody, account);
      exchange.nDigestTries += strAuthorization.empty() ? 0 : 1;
      eCode = Send(pUrl, strBody, strAuthorization, deadline, answer);
      // A refusal counts also when the rest of its answer is lost.
      blTryAgain = answer.blHeaderEnded && IsToBeRepeated(answer);
    } while (eCode == CURLE_OK && blTryAgain);
    return eCode;
  }

  int Status() const { return static_cast<int>(Info(CURLINFO_RESPONSE_CODE)); }

  // What the system said to the socket or the connection that could not be made, 0 when nothing.
  long Errno() const { return nSocketErrno != 0 ? nSocketErrno : Info(CURLINFO_OS_ERRNO); }

  std::string ErrorText(CURLcode eCode, long nErrno) const {
    const std::string strError = rgError[0] != '\0' ? rgError.data() : curl_easy_strerror(eCode);
    return nErrno == 0 ? strError : strError + ": " + std::generic_category().message(static_cast<int>(nErrno));
  }

  long Info(CURLINFO eInfo) const {
    long nValue = 0;
    curl_easy_getinfo(pEasy.get(), eInfo, &nValue);
    return nValue;
  }

  template <typename VALUE>
  bool Set(CURLoption eOption, VALUE value) {
    return curl_easy_setopt(pEasy.get(), eOption, value) == CURLE_OK;
  }

 private:
  // The whole header line; empty when the request goes without.
  std::string Authorization(CURLU* pUrl, std::string_view strBody, const HTTP_ACCOUNT& account) {
    if (!digest.Begin(account)) return {};
    const std::string strTarget = RequestTarget(pUrl);
    const std::string strAnswer = digest.Authorize({"POST", strTarget, strBody});
    return strAnswer.empty() ? strAnswer : "Authorization: " + strAnswer;
  }

  bool IsToBeRepeated(const ANSWER& answer) {
    if (Status() == k_nUnauthorized) return digest.Refused(answer.rgChallenge);
    digest.Accepted();
    return false;
  }

  // libcurl replaces a kept connection that ended by a fresh one, but counts these over the life of the handle and gives
  // up at every sixth (7.88; later releases do not). That one is replaced here.
  CURLcode Transfer(Clock::time_point deadline, const ANSWER& answer) {
    if (!SetTimeLeft(deadline)) return CURLE_OPERATION_TIMEDOUT;
    const CURLcode eCode = curl_easy_perform(pEasy.get());
    const bool blEnded = eCode == CURLE_SEND_ERROR || eCode == CURLE_RECV_ERROR || eCode == CURLE_GOT_NOTHING;
    const bool blWasKept = Info(CURLINFO_NUM_CONNECTS) == 0;
    if (!blEnded || !blWasKept || answer.nHeaderBytes > 0) return eCode;
    return SetTimeLeft(deadline) ? curl_easy_perform(pEasy.get()) : CURLE_OPERATION_TIMEDOUT;
  }

  // False when nothing is left.
  bool SetTimeLeft(Clock::time_point deadline) {
    const std::int64_t nLeft_ms =
        std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Clock::now()).count();
    return nLeft_ms > 0 && Set(CURLOPT_TIMEOUT_MS, CurlTime(nLeft_ms));
  }

  CURLcode Send(CURLU* pUrl, std::string_view strBody, std::string strAuthorization, Clock::time_point deadline,
                ANSWER& answer) {
    rgError[0] = '\0';
    nSocketErrno = 0;
    curl_slist withAuthorization{strAuthorization.data(), pHeaders.get()};
    const bool blSet = Set(CURLOPT_CURLU, pUrl) && Set(CURLOPT_POSTFIELDS, strBody.data()) &&
                       Set(CURLOPT_POSTFIELDSIZE_LARGE, static_cast<curl_off_t>(strBody.size())) &&
                       Set(CURLOPT_HTTPHEADER, strAuthorization.empty() ? pHeaders.get() : &withAuthorization) &&
                       Set(CURLOPT_WRITEDATA, &answer) && Set(CURLOPT_XFERINFODATA, &answer) &&
                       Set(CURLOPT_HEADERDATA, &answer);
    const CURLcode eCode = blSet ? Transfer(deadline, answer) : CURLE_FAILED_INIT;
    Set(CURLOPT_CURLU, static_cast<CURLU*>(nullptr));  // neither lives as long as the handle
    Set(CURLOPT_HTTPHEADER, pHeaders.get());
    return eCode;
  }

  HttpDigest digest;
};

HttpClient::HttpClient(std::string strHost, int nPort) : m_strHost(std::move(strHost)), m_nPort(nPort) {}

HttpClient::~HttpClient() = default;

HTTP_EXCHANGE HttpClient::Post(const std::string& strPath, std::string_view strBody, const HTTP_ACCOUNT& account,
                               int nTimeout_s) noexcept {
  try {
    return Exchange(strPath, strBody, account, nTimeout_s);
  } catch (...) {
    HTTP_EXCHANGE exchange;
    exchange.eResult = HTTP_POST_OUT_OF_RESOURCES;
    return exchange;
  }
}

HTTP_EXCHANGE HttpClient::Exchange(const std::string& strPath, std::string_view strBody, const HTTP_ACCOUNT& account,
                                   int nTimeout_s) {
  const Clock::time_point deadline = Clock::now() + std::chrono::seconds(std::max(nTimeout_s, 1));
  HTTP_EXCHANGE exchange;
  exchange.strPath = strPath;
  const OwnedCurlUrl pUrl = IsRequestTarget(strPath) ? MakeUrl(m_strHost, m_nPort, strPath) : nullptr;
  if (!pUrl) return Failed(std::move(exchange), HTTP_POST_NO_CONNECTION, "host, port and path make no HTTP address");
  if (!Connect()) return Failed(std::move(exchange), HTTP_POST_OUT_OF_RESOURCES, "no HTTP handle could be made");
  ANSWER answer;
  const CURLcode eCode = m_pConnection->Perform(pUrl.get(), strBody, account, deadline, exchange, answer);
  if (answer.blHeaderEnded) exchange.nStatus = m_pConnection->Status();
  const bool blRefused = exchange.nStatus == k_nUnauthorized;
  if (blRefused) exchange.strChallenges = DescribeChallenges(answer.rgChallenge);
  if (eCode != CURLE_OK) {
    const long nErrno = m_pConnection->Errno();
    const HTTP_POST_RESULT eResult = blRefused ? HTTP_POST_AUTH_REFUSED : FromFailure(eCode, nErrno, answer);
    return Failed(std::move(exchange), eResult, m_pConnection->ErrorText(eCode, nErrno));
  }
  if (!answer.blHeaderEnded) {
    return Failed(std::move(exchange), HTTP_POST_CONNECTION_LOST, "the connection ended inside the answer's header");
  }
  XML_REPLY reply = ParseXmlReply(std::move(answer.strBody));
  exchange.eResult = FromStatus(exchange.nStatus, reply.eResult);
  if (exchange.eResult == HTTP_POST_OUT_OF_RESOURCES) exchange.strError = "no memory to read the answer";
  exchange.pDoc = std::move(reply.pDoc);
  return exchange;
}

bool HttpClient::Connect() {
  if (m_pConnection) return true;
  auto pConnection = std::make_unique<CONNECTION>();
  if (!pConnection->Prepare()) return false;
  m_pConnection = std::move(pConnection);
  return true;
}
