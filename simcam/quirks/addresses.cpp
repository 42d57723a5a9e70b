// Cameras that tell addresses of their services where nobody can reach them.
#include <utility>

#include "simcam/quirks/urlparts.h"

namespace simcam {

namespace {

template <UrlBend kBend>
void Bend(AnswerDocument& answer, const QuirkValue& value) {
  BendUrls(answer, "XAddr", kBend, value);
}

void PutQuery(UrlParts& url, const QuirkValue& value) {
  url.path += "?" + value.Text();
}

void PutPath(UrlParts& url, const QuirkValue& value) {
  url.path = value.Text();
}

// The second one is where the camera lives in a network of its maker's.
void PutSecondAddress(UrlParts& url, const QuirkValue& value) {
  UrlParts second = url;
  PutHost(second, value);
  url.path += " " + JoinUrl(second);
}

void PutUpperCase(UrlParts& url, const QuirkValue&) {
  url.scheme = "HTTP://";
}

void RequireQuery(CallRules& rules, const QuirkValue& value) {
  rules.neededQuery = value.Text();
}

void ServeOtherPath(CallRules& rules, const QuirkValue& value) {
  rules.otherPath = value.Text();
}

void DropAddresses(AnswerDocument& answer, const QuirkValue&) {
  answer.RemoveAll("XAddr");
}

void DropMedia(AnswerDocument& answer, const QuirkValue&) {
  AnswerDocument::Remove(answer.Find("Media", answer.Find("Capabilities")));
}

void DropServices(AnswerDocument& answer, const QuirkValue&) {
  answer.RemoveAll("Service");
}

void RefuseServices(CallRules& rules, const QuirkValue&) {
  rules.fault = ActionNotSupported("the operation is not implemented");
}

Quirk Row(const char* name, const char* trouble, QuirkParameter parameter, DocumentHook hook) {
  return {name, trouble, std::move(parameter), {"GetCapabilities", "GetServices"}, hook};
}

std::vector<Quirk> PartRows() {
  return {
      Row("address-internal", "addresses are those of the network behind the router: they lead nowhere",
          TextParameter("host", "192.168.1.108"), Bend<PutHost>),
      Row("address-loopback", "addresses are those of the camera itself: clients call themselves",
          ChoiceParameter("host", {"127.0.0.1", "0.0.0.0", "localhost"}), Bend<PutHost>),
      Row("address-unresolvable", "addresses hold a name that no server knows: clients wait for the resolver",
          TextParameter("host", "camera.invalid"), Bend<PutHost>),
      Row("address-ipv6", "addresses are IPv6 although the client came by IPv4: splitting at the colon fails",
          TextParameter("host in brackets", "[2001:db8::64]"), Bend<PutHost>),
      Row("address-port", "addresses hold the port inside the network, not the one that is forwarded",
          WholeParameter("port", "8899", 1, 65535), Bend<PutPort>),
      Row("address-user-info", "addresses hold a user and a password: they end in logs",
          TextParameter("user:password", "admin:simcam"), Bend<PutUser>),
      Row("address-https", "addresses say https, which the camera does not serve", {}, Bend<PutHttps>),
      Row("address-upper-case", "the scheme is in upper case: a comparison with http fails", {}, Bend<PutUpperCase>),
      Row("address-without-scheme", "addresses begin with the host: they are no URLs", {}, Bend<DropScheme>),
      Row("address-without-path", "addresses end after the port: calls arrive at the root", {}, Bend<DropPath>),
      Row("address-relative", "addresses are paths without a host", {}, Bend<LeaveOnlyPath>),
      Row("address-empty", "addresses are empty: the service is there, but where?", {}, Bend<DropAll>),
      Row("address-missing", "services are told without any address", {}, DropAddresses),
      Row("address-blanks", "blanks or line ends stand around addresses: they land in the request line", BlankChoices(),
          Bend<PutBlanks>),
      Row("address-several", "two addresses in one element, with a blank between: taken as one they are wrong",
          TextParameter("second host", "169.254.8.15"), Bend<PutSecondAddress>),
  };
}

std::vector<Quirk> ServiceRows() {
  return {
      {"address-query",
       "addresses of services have a query, and without it the camera answers 404: clients lose it",
       TextParameter("query", "service=1"),
       {},
       {RulesHook(RequireQuery), DocumentHook(Bend<PutQuery>)}},
      {"address-other-path",
       "all services are told at one other path, which serves them all: fixed paths are not asked for",
       TextParameter("path", "/cgi-bin/onvif"),
       {},
       {RulesHook(ServeOtherPath), DocumentHook(Bend<PutPath>)}},
      {"address-media-missing",
       "GetCapabilities does not tell the media service, which is there: clients say it is no camera",
       {},
       {"GetCapabilities"},
       DocumentHook(DropMedia)},
      {"services-empty",
       "GetServices lists nothing: clients that ask nothing else see no service",
       {},
       {"GetServices"},
       DocumentHook(DropServices)},
      {"services-fault",
       "GetServices is refused although the version promises it: clients must fall back to GetCapabilities",
       {},
       {"GetServices"},
       RulesHook(RefuseServices)},
  };
}

}  // namespace

QuirkGroup AddressQuirks() {
  return {"addresses", JoinRows({PartRows(), ServiceRows()})};
}

}  // namespace simcam
