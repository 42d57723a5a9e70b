// How an answer travels when it does not travel as it should.
#pragma once

#include <chrono>
#include <cstddef>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace simcam {

// An answer that no HTTP library sends: its bytes are made here, and its connection ends with it.
struct RawPlan {
  enum class Framing {
    Length,       // a Content-Length
    BadLength,    // a Content-Length that says `length`
    TwoLengths,   // a second Content-Length that is another
    UntilClose,   // nothing says where the body ends
    BadChunks,    // chunks whose size is no number
    ChunksNoEnd,  // chunks without the last one
  };
  enum class HeaderStyle { Plain, LowerCase, Folded };
  enum class End {
    Close,    // the connection is closed without a word
    Reset,    // the client sees a reset
    Silence,  // nothing happens until the client leaves
  };

  std::string before;       // bytes ahead of the answer
  std::string statusLine;   // in place of the right one, without its end
  bool hasHead = true;      // else the body alone is sent
  bool tellsClose = false;  // "Connection: close"
  const char* lineEnd = "\r\n";
  HeaderStyle headerStyle = HeaderStyle::Plain;
  Framing framing = Framing::Length;
  int lengthError = 0;                        // bytes that Content-Length is too large by
  std::string length;                         // for BadLength
  std::optional<std::size_t> stopAfter;       // nothing follows this many bytes
  std::chrono::milliseconds pausePerByte{0};  // before each byte
  End end = End::Close;
};

struct WirePlan {
  enum class Coding { None, Gzip, ClaimedGzip, GzipBomb };
  enum class Redirect { None, Https, OtherPath };

  // What the answer says of itself.
  int status = 0;                                            // 0: the answer's own
  std::optional<std::string> contentType;                    // empty: no such header
  std::vector<std::pair<std::string, std::string>> headers;  // further ones
  std::optional<std::string> body;                           // in place of the answer's own
  Redirect redirect = Redirect::None;
  std::string redirectPath;  // for OtherPath
  Coding coding = Coding::None;
  int bombMebibytes = 0;  // for GzipBomb: what it inflates to
  bool isChunked = false;

  // What becomes of the connection.
  std::chrono::milliseconds delay{0};                  // before the answer
  bool closesAfterAnswer = false;                      // "Connection: close", and the connection ends
  bool dropsNextRequest = false;                       // the connection ends when the next request comes
  std::optional<std::chrono::milliseconds> idleClose;  // the connection ends without a word after this time

  std::optional<RawPlan> raw;

  RawPlan& Raw() { return raw ? *raw : raw.emplace(); }
};

}  // namespace simcam
