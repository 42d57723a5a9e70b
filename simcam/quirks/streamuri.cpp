// Cameras whose stream addresses cannot be used as they are.
#include <string>
#include <utility>

#include "simcam/quirks/urlparts.h"

namespace simcam {

namespace {

template <UrlBend kBend>
void BendUri(AnswerDocument& answer, const QuirkValue& value) {
  BendUrls(answer, "Uri", kBend, value);
}

void DoublePort(UrlParts& url, const QuirkValue&) {
  constexpr const char* kRtspPort = ":554";
  const std::string port = url.port.empty() ? kRtspPort : url.port;
  url.port = port + port;
}

void PutNull(UrlParts& url, const QuirkValue&) {
  url.host = "(null)";
}

void PutBlankInside(UrlParts& url, const QuirkValue&) {
  url.path = "/live stream" + url.path;
}

// What the writer escapes for the second time.
void EscapeTwice(UrlParts& url, const QuirkValue&) {
  url.path += "?channel=1&amp;subtype=0&amp;unicast=true";
}

void DropUri(AnswerDocument& answer, const QuirkValue&) {
  answer.RemoveAll("Uri");
}

void DropMediaUri(AnswerDocument& answer, const QuirkValue&) {
  answer.RemoveAll("MediaUri");
}

void MakeTemporary(AnswerDocument& answer, const QuirkValue& value) {
  answer.SetAll("InvalidAfterConnect", "true");
  answer.SetAll("InvalidAfterReboot", "true");
  answer.SetAll("Timeout", "PT" + value.Text() + "S");
}

void BreakTimeout(AnswerDocument& answer, const QuirkValue&) {
  answer.SetAll("Timeout", "0");
}

void DropValidity(AnswerDocument& answer, const QuirkValue&) {
  for (const char* const name : {"InvalidAfterConnect", "InvalidAfterReboot", "Timeout"}) {
    answer.RemoveAll(name);
  }
}

void RefuseIncomplete(CallRules& rules, const QuirkValue&) {
  rules.fault = ActionFailed("IncompleteConfiguration", "the profile cannot be used at the moment");
}

void RefuseSnapshot(CallRules& rules, const QuirkValue&) {
  rules.fault = ActionNotSupported("the camera has no snapshots");
}

Quirk Stream(const char* name, const char* trouble, QuirkParameter parameter, QuirkHooks hooks) {
  return {name, trouble, std::move(parameter), {"GetStreamUri"}, std::move(hooks)};
}

Quirk Snapshot(const char* name, const char* trouble, QuirkParameter parameter, QuirkHooks hooks) {
  return {name, trouble, std::move(parameter), {"GetSnapshotUri"}, std::move(hooks)};
}

QuirkParameter InternalHost() {
  return TextParameter("host", "192.168.1.108");
}

QuirkParameter Account() {
  return TextParameter("user:password", "admin:simcam");
}

std::vector<Quirk> StreamRows() {
  return {
      Stream("stream-uri-double-port", "the port stands twice behind the host: no player takes the address", {},
             DocumentHook(BendUri<DoublePort>)),
      Stream("stream-uri-http-port", "the address holds the port of HTTP: RTSP is spoken to a web server",
             WholeParameter("port", "80", 1, 65535), DocumentHook(BendUri<PutPort>)),
      Stream("stream-uri-user-info", "the address holds a user and a password: they are shown and logged", Account(),
             DocumentHook(BendUri<PutUser>)),
      Stream("stream-uri-internal", "the host is that of the network behind the router: no stream from outside",
             InternalHost(), DocumentHook(BendUri<PutHost>)),
      Stream("stream-uri-loopback", "the host is the camera itself: clients look for the stream at home",
             ChoiceParameter("host", {"127.0.0.1", "0.0.0.0", "localhost"}), DocumentHook(BendUri<PutHost>)),
      Stream("stream-uri-null-host", "the host is the text (null): it went through printf", {},
             DocumentHook(BendUri<PutNull>)),
      Stream("stream-uri-ipv6", "the host is IPv6 although the client came by IPv4: splitting at the colon fails",
             TextParameter("host in brackets", "[2001:db8::64]"), DocumentHook(BendUri<PutHost>)),
      Stream("stream-uri-http-scheme", "the address begins with http: players ask for a web page", {},
             DocumentHook(BendUri<PutHttp>)),
      Stream("stream-uri-relative", "the address is a path without a host", {}, DocumentHook(BendUri<LeaveOnlyPath>)),
      Stream("stream-uri-without-path", "the address ends after the port: the camera has nothing there", {},
             DocumentHook(BendUri<DropPath>)),
      Stream("stream-uri-blanks", "blanks or line ends stand around the address: players and shells fail",
             BlankChoices(), DocumentHook(BendUri<PutBlanks>)),
      Stream("stream-uri-blank-inside", "a blank stands in the path: as an argument it becomes two", {},
             DocumentHook(BendUri<PutBlankInside>)),
      Stream("stream-uri-escaped-twice", "ampersands are escaped twice: after reading, &amp; is still there", {},
             DocumentHook(BendUri<EscapeTwice>)),
      Stream("stream-uri-empty", "the address is empty, in an answer that says success", {},
             DocumentHook(BendUri<DropAll>)),
      Stream("stream-uri-missing", "the answer has no Uri element", {}, DocumentHook(DropUri)),
      Stream("stream-uri-no-media-uri", "the answer has nothing in it", {}, DocumentHook(DropMediaUri)),
      Stream("stream-uri-temporary", "the address holds for one connection and a short time: a stored one is stale",
             WholeParameter("seconds", "10", 1, 3600), DocumentHook(MakeTemporary)),
      Stream("stream-uri-odd-timeout", "the timeout is a number, not a duration: strict readers drop the answer", {},
             DocumentHook(BreakTimeout)),
      Stream("stream-uri-no-validity", "the answer holds the address alone, without how long it is valid", {},
             DocumentHook(DropValidity)),
      Stream("stream-uri-fault", "no address is told although the profile is complete", {},
             RulesHook(RefuseIncomplete)),
  };
}

std::vector<Quirk> SnapshotRows() {
  return {
      Snapshot("snapshot-uri-internal", "the host is that of the network behind the router: no picture from outside",
               InternalHost(), DocumentHook(BendUri<PutHost>)),
      Snapshot("snapshot-uri-port", "the port is not the one that is forwarded: no picture from outside",
               WholeParameter("port", "8899", 1, 65535), DocumentHook(BendUri<PutPort>)),
      Snapshot("snapshot-uri-user-info", "the address holds a user and a password: they are shown and logged",
               Account(), DocumentHook(BendUri<PutUser>)),
      Snapshot("snapshot-uri-https", "the address says https, which the camera does not serve", {},
               DocumentHook(BendUri<PutHttps>)),
      Snapshot("snapshot-uri-blanks", "blanks or line ends stand around the address", BlankChoices(),
               DocumentHook(BendUri<PutBlanks>)),
      Snapshot("snapshot-uri-relative", "the address is a path without a host", {},
               DocumentHook(BendUri<LeaveOnlyPath>)),
      Snapshot("snapshot-uri-empty", "the address is empty, in an answer that says success", {},
               DocumentHook(BendUri<DropAll>)),
      Snapshot("snapshot-uri-missing", "the answer has no Uri element", {}, DocumentHook(DropUri)),
      Snapshot("snapshot-uri-fault", "the camera says that it has no snapshots, and advertises them", {},
               RulesHook(RefuseSnapshot)),
  };
}

}  // namespace

QuirkGroup StreamUriQuirks() {
  return {"stream-uri", JoinRows({StreamRows(), SnapshotRows()})};
}

}  // namespace simcam
