// Cameras whose HTTP goes wrong below the answer.
#include <string>

#include "simcam/quirks/quirk.h"

namespace simcam {

namespace {

std::chrono::milliseconds Milliseconds(const QuirkValue& value) {
  return std::chrono::milliseconds(value.Whole());
}

std::size_t Count(const QuirkValue& value) {
  return static_cast<std::size_t>(value.Whole());
}

// The life of the connection.

void CloseAfterAnswer(WirePlan& plan, const QuirkValue&) {
  plan.closesAfterAnswer = true;
}

void CloseSilently(WirePlan& plan, const QuirkValue&) {
  plan.Raw().end = RawPlan::End::Close;
}

void CloseWhenIdle(WirePlan& plan, const QuirkValue& value) {
  plan.idleClose = Milliseconds(value);
}

void CloseOnNext(WirePlan& plan, const QuirkValue&) {
  plan.dropsNextRequest = true;
}

void CloseAtOnce(WirePlan& plan, const QuirkValue&) {
  plan.Raw().stopAfter = 0;
}

void CloseAfter(WirePlan& plan, const QuirkValue& value) {
  plan.Raw().stopAfter = Count(value);
}

void ResetAfter(WirePlan& plan, const QuirkValue& value) {
  plan.Raw().stopAfter = Count(value);
  plan.Raw().end = RawPlan::End::Reset;
}

void ResetAtOnce(WirePlan& plan, const QuirkValue&) {
  plan.Raw().stopAfter = 0;
  plan.Raw().end = RawPlan::End::Reset;
}

// Time.

void Delay(WirePlan& plan, const QuirkValue& value) {
  plan.delay = Milliseconds(value);
}

void Drip(WirePlan& plan, const QuirkValue& value) {
  plan.Raw().pausePerByte = Milliseconds(value);
}

void StallAfter(WirePlan& plan, const QuirkValue& value) {
  plan.Raw().stopAfter = Count(value);
  plan.Raw().end = RawPlan::End::Silence;
}

void NeverAnswer(WirePlan& plan, const QuirkValue&) {
  plan.Raw().stopAfter = 0;
  plan.Raw().end = RawPlan::End::Silence;
}

// How the body is coded and framed.

void UseGzip(WirePlan& plan, const QuirkValue&) {
  plan.coding = WirePlan::Coding::Gzip;
}

void ClaimGzip(WirePlan& plan, const QuirkValue&) {
  plan.coding = WirePlan::Coding::ClaimedGzip;
}

void UseGzipBomb(WirePlan& plan, const QuirkValue& value) {
  plan.coding = WirePlan::Coding::GzipBomb;
  plan.bombMebibytes = value.Whole();
}

void UseChunks(WirePlan& plan, const QuirkValue&) {
  plan.isChunked = true;
}

void UseBadChunks(WirePlan& plan, const QuirkValue&) {
  plan.Raw().framing = RawPlan::Framing::BadChunks;
}

void LeaveChunksOpen(WirePlan& plan, const QuirkValue& value) {
  plan.Raw().framing = RawPlan::Framing::ChunksNoEnd;
  plan.Raw().end = value.Text() == "silence" ? RawPlan::End::Silence : RawPlan::End::Close;
}

void ClaimMore(WirePlan& plan, const QuirkValue& value) {
  plan.Raw().lengthError = value.Whole();
}

void ClaimLess(WirePlan& plan, const QuirkValue& value) {
  plan.Raw().lengthError = -value.Whole();
}

void ClaimTwice(WirePlan& plan, const QuirkValue&) {
  plan.Raw().framing = RawPlan::Framing::TwoLengths;
}

void ClaimNonsense(WirePlan& plan, const QuirkValue& value) {
  plan.Raw().framing = RawPlan::Framing::BadLength;
  plan.Raw().length = value.Text();
}

void ClaimNothing(WirePlan& plan, const QuirkValue&) {
  plan.Raw().framing = RawPlan::Framing::UntilClose;
}

// The head.

void PutGarbageFirst(WirePlan& plan, const QuirkValue&) {
  plan.Raw().before = "\x01\x02 debug: answer follows\r\n";
}

void PutContinueFirst(WirePlan& plan, const QuirkValue&) {
  plan.Raw().before = "HTTP/1.1 100 Continue\r\n\r\n";
}

void UseStatusLine(WirePlan& plan, const QuirkValue& value) {
  plan.Raw().statusLine = value.Text();
}

void UseHttp10(WirePlan& plan, const QuirkValue&) {
  plan.Raw().statusLine = "HTTP/1.0 200 OK";
  plan.Raw().tellsClose = true;
}

void DropHead(WirePlan& plan, const QuirkValue&) {
  plan.Raw().hasHead = false;
}

void UseLowerCase(WirePlan& plan, const QuirkValue&) {
  plan.Raw().headerStyle = RawPlan::HeaderStyle::LowerCase;
  plan.Raw().tellsClose = true;
}

void FoldHeaders(WirePlan& plan, const QuirkValue&) {
  plan.Raw().headerStyle = RawPlan::HeaderStyle::Folded;
  plan.Raw().tellsClose = true;
}

void UseBareLineFeeds(WirePlan& plan, const QuirkValue&) {
  plan.Raw().lineEnd = "\n";
  plan.Raw().tellsClose = true;
}

void AddHugeHeader(WirePlan& plan, const QuirkValue& value) {
  constexpr std::size_t kKibibyte = 1024;
  plan.headers.emplace_back("X-Padding", std::string(Count(value) * kKibibyte, 'x'));
  plan.Raw().tellsClose = true;  // the library's memory for a connection does not hold it
}

void AddManyHeaders(WirePlan& plan, const QuirkValue& value) {
  for (int i = 0; i < value.Whole(); ++i) {
    plan.headers.emplace_back("X-Header-" + std::to_string(i), "x");
  }
  plan.Raw().tellsClose = true;
}

// Status and type.

void UseStatus(WirePlan& plan, const QuirkValue& value) {
  plan.status = value.Whole();
  // The library leaves out a body that the status forbids.
  if (plan.status == 204) {
    plan.Raw().tellsClose = true;
  }
}

void RedirectToHttps(WirePlan& plan, const QuirkValue&) {
  plan.status = 302;
  plan.body = "";
  plan.redirect = WirePlan::Redirect::Https;
}

void RedirectToPath(WirePlan& plan, const QuirkValue& value) {
  plan.status = 302;
  plan.body = "";
  plan.redirect = WirePlan::Redirect::OtherPath;
  plan.redirectPath = value.Text();
}

void UseContentType(WirePlan& plan, const QuirkValue& value) {
  plan.contentType = value.Text() == "none" ? "" : value.Text();
}

void BeBusy(WirePlan& plan, const QuirkValue& value) {
  plan.status = 503;
  plan.contentType = "text/html";
  plan.body = "<html><body><h1>503 Service Unavailable</h1></body></html>\n";
  plan.headers.emplace_back("Retry-After", value.Text());
}

// The table in its parts. Times are in milliseconds, 60 seconds at most.

constexpr int kMaxTime = 60000;
constexpr int kMaxBytes = 64 * 1024 * 1024;

std::vector<Quirk> ConnectionQuirks() {
  return {
      {"http-close",
       "the connection ends after each answer: every call needs a new one",
       {},
       {},
       WireHook(CloseAfterAnswer)},
      {"http-silent-close",
       "the answer promises to keep the connection, and the camera closes it all the same",
       {},
       {},
       WireHook(CloseSilently)},
      {"http-idle-close",
       "a kept connection is closed soon: the next call may fail as it is sent",
       WholeParameter("milliseconds without a request", "500", 0, kMaxTime),
       {},
       WireHook(CloseWhenIdle)},
      {"http-close-on-next",
       "a kept connection is closed as the next request comes: that one is never answered",
       {},
       {},
       WireHook(CloseOnNext)},
      {"http-close-at-once", "the connection is closed in place of an answer", {}, {}, WireHook(CloseAtOnce)},
      {"http-close-early",
       "the connection is closed in the middle of the answer",
       WholeParameter("bytes that are sent, with the head", "300", 0, kMaxBytes),
       {},
       WireHook(CloseAfter)},
      {"http-reset",
       "the connection is reset in the middle of the answer",
       WholeParameter("bytes that are sent, with the head", "300", 1, kMaxBytes),
       {},
       WireHook(ResetAfter)},
      {"http-reset-at-once", "the connection is reset in place of an answer", {}, {}, WireHook(ResetAtOnce)},
  };
}

std::vector<Quirk> TimeQuirks() {
  return {
      {"http-delay",
       "the answer is right and comes late: a client that waits on one camera stops for all",
       WholeParameter("milliseconds", "3000", 0, kMaxTime),
       {},
       WireHook(Delay)},
      {"http-drip",
       "the answer comes byte by byte: a limit for silence never strikes, only one for the whole",
       WholeParameter("milliseconds per byte", "20", 1, kMaxTime),
       {},
       WireHook(Drip)},
      {"http-stall",
       "the answer stops in the middle and the connection stays open: a client without a limit hangs",
       WholeParameter("bytes that are sent, with the head", "300", 1, kMaxBytes),
       {},
       WireHook(StallAfter)},
      {"http-no-answer", "the request is taken and never answered", {}, {}, WireHook(NeverAnswer)},
  };
}

std::vector<Quirk> BodyQuirks() {
  return {
      {"http-gzip", "the body is gzip, whether the client asked for it or not", {}, {}, WireHook(UseGzip)},
      {"http-gzip-claimed", "the head says gzip and the body is plain", {}, {}, WireHook(ClaimGzip)},
      {"http-gzip-bomb",
       "a small gzip body inflates to very much: a client that counts only what arrives runs out of memory",
       WholeParameter("mebibytes of blanks", "100", 1, 1000),
       {},
       WireHook(UseGzipBomb)},
      {"http-chunked", "the body comes in chunks, without a length", {}, {}, WireHook(UseChunks)},
      {"http-bad-chunks", "the size of a chunk is no number", {}, {}, WireHook(UseBadChunks)},
      {"http-chunks-without-end",
       "the last chunk is missing: the answer seems never complete",
       ChoiceParameter("what comes in its place", {"close", "silence"}),
       {},
       WireHook(LeaveChunksOpen)},
      {"http-length-too-long",
       "Content-Length is larger than the body: a client waits for bytes that do not come",
       WholeParameter("bytes too many", "10", 1, kMaxBytes),
       {},
       WireHook(ClaimMore)},
      {"http-length-too-short",
       "Content-Length is smaller than the body: the answer is cut, its rest seems the next one",
       WholeParameter("bytes too few", "10", 1, kMaxBytes),
       {},
       WireHook(ClaimLess)},
      {"http-two-lengths", "two Content-Lengths that differ: which one counts?", {}, {}, WireHook(ClaimTwice)},
      {"http-bad-length",
       "Content-Length is no length",
       ChoiceParameter("what it says", {"-1", "many", "99999999999999999999"}),
       {},
       WireHook(ClaimNonsense)},
      {"http-no-length",
       "nothing says how long the body is: it ends with the connection",
       {},
       {},
       WireHook(ClaimNothing)},
  };
}

std::vector<Quirk> HeadQuirks() {
  return {
      {"http-garbage-first", "a line of debug output comes before the answer", {}, {}, WireHook(PutGarbageFirst)},
      {"http-continue-first",
       "100 Continue comes before the answer, although the client did not ask for it",
       {},
       {},
       WireHook(PutContinueFirst)},
      {"http-status-line",
       "the status line is none that HTTP knows",
       ChoiceParameter("the line", {"HTTP/1.1 OK", "200 OK", "RTSP/1.0 200 OK", "HTTP/1.1 20 OK", "HTTP/1.1"}),
       {},
       WireHook(UseStatusLine)},
      {"http-1-0", "the answer is HTTP/1.0, and the connection ends with it", {}, {}, WireHook(UseHttp10)},
      {"http-no-head", "the body comes without status line and headers", {}, {}, WireHook(DropHead)},
      {"http-lower-case",
       "the names of headers are in lower case: a client that compares them as they are written misses them",
       {},
       {},
       WireHook(UseLowerCase)},
      {"http-folded-headers",
       "headers go on in a second line, an old form that most clients do not read",
       {},
       {},
       WireHook(FoldHeaders)},
      {"http-bare-line-feeds", "the lines of the head end without CR", {}, {}, WireHook(UseBareLineFeeds)},
      {"http-huge-header",
       "one header is huge: a client needs a limit for it",
       WholeParameter("KiB", "256", 1, 16384),
       {},
       WireHook(AddHugeHeader)},
      {"http-many-headers",
       "there are very many headers",
       WholeParameter("headers", "5000", 1, 100000),
       {},
       WireHook(AddManyHeaders)},
  };
}

std::vector<Quirk> StatusQuirks() {
  return {
      {"http-status",
       "the right answer comes with the wrong status",
       ChoiceParameter("the status", {"500", "204", "302", "401", "404", "503"}),
       {},
       WireHook(UseStatus)},
      {"http-redirect-https",
       "every call is sent on to https, where nothing answers",
       {},
       {},
       {RulesHook(DoNothing), WireHook(RedirectToHttps)}},
      {"http-redirect",
       "every call is sent on to another path of the camera",
       TextParameter("the path", "/doc/page/login.asp"),
       {},
       {RulesHook(DoNothing), WireHook(RedirectToPath)}},
      {"http-content-type",
       "the Content-Type is not that of SOAP 1.2, or is missing",
       ChoiceParameter("what it says", {"text/html", "text/xml", "application/octet-stream", "none"}),
       {},
       WireHook(UseContentType)},
      {"http-busy",
       "the camera is busy (503): a client that does not wait makes it worse",
       WholeParameter("seconds that Retry-After asks for", "5", 0, 3600),
       {},
       {RulesHook(DoNothing), WireHook(BeBusy)}},
  };
}

}  // namespace

QuirkGroup HttpQuirks() {
  QuirkGroup group{"http", {}};
  for (const auto& part : {ConnectionQuirks(), TimeQuirks(), BodyQuirks(), HeadQuirks(), StatusQuirks()}) {
    group.quirks.insert(group.quirks.end(), part.begin(), part.end());
  }
  return group;
}

}  // namespace simcam
