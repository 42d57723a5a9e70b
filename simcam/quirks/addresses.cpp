// Cameras that tell addresses of their services where nobody can reach them.
#include <utility>

#include "simcam/quirks/urlparts.h"

namespace simcam {

namespace {

template <UrlBend kBend>
void BendAddress(AnswerDocument& answer, const QuirkValue& value) {
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

Quirk AddressRow(const char* name, const char* trouble, QuirkParameter parameter, DocumentHook hook) {
  return {name, trouble, std::move(parameter), {"GetCapabilities", "GetServices"}, hook};
}

std::vector<Quirk> PartRows() {
  return {
      AddressRow("address-internal", "addresses are those of the network behind the router: they lead nowhere",
                 TextParameter("host", "192.168.1.108"), BendAddress<PutHost>),
      AddressRow("address-loopback", "addresses are those of the camera itself: clients call themselves",
                 ChoiceParameter("host", {"127.0.0.1", "0.0.0.0", "localhost"}), BendAddress<PutHost>),
      AddressRow("address-unresolvable", "addresses hold a name that no server knows: clients wait for the resolver",
                 TextParameter("host", "camera.invalid"), BendAddress<PutHost>),
      AddressRow("address-ipv6", "addresses are IPv6 although the client came by IPv4: splitting at the colon fails",
                 TextParameter("host in brackets", "[2001:db8::64]"), BendAddress<PutHost>),
      AddressRow("address-port", "addresses hold the port inside the network, not the one that is forwarded",
                 WholeParameter("port", "8899", 1, 65535), BendAddress<PutPort>),
      AddressRow("address-user-info", "addresses hold a user and a password: they end in logs",
                 TextParameter("user:password", "admin:simcam"), BendAddress<PutUser>),
      AddressRow("address-https", "addresses say https, which the camera does not serve", {}, BendAddress<PutHttps>),
      AddressRow("address-upper-case", "the scheme is in upper case: a comparison with http fails", {},
                 BendAddress<PutUpperCase>),
      AddressRow("address-without-scheme", "addresses begin with the host: they are no URLs", {},
                 BendAddress<DropScheme>),
      AddressRow("address-without-path", "addresses end after the port: calls arrive at the root", {},
                 BendAddress<DropPath>),
      AddressRow("address-relative", "addresses are paths without a host", {}, BendAddress<LeaveOnlyPath>),
      AddressRow("address-empty", "addresses are empty: the service is there, but where?", {}, BendAddress<DropAll>),
      AddressRow("address-missing", "services are told without any address", {}, DropAddresses),
      AddressRow("address-blanks", "blanks or line ends stand around addresses: they land in the request line",
                 BlankChoices(), BendAddress<PutBlanks>),
      AddressRow("address-several", "two addresses in one element, with a blank between: taken as one they are wrong",
                 TextParameter("second host", "169.254.8.15"), BendAddress<PutSecondAddress>),
  };
}

std::vector<Quirk> ServiceListRows() {
  return {
      {"address-query",
       "addresses of services have a query, and without it the camera answers 404: clients lose it",
       TextParameter("query", "service=1"),
       {},
       {RulesHook(RequireQuery), DocumentHook(BendAddress<PutQuery>)}},
      {"address-other-path",
       "all services are told at one other path, which serves them all: fixed paths are not asked for",
       TextParameter("path", "/cgi-bin/onvif"),
       {},
       {RulesHook(ServeOtherPath), DocumentHook(BendAddress<PutPath>)}},
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
       RulesHook(RefuseAsNotSupported)},
  };
}

}  // namespace

QuirkGroup AddressQuirks() {
  return {"addresses", JoinRows({PartRows(), ServiceListRows()})};
}

}  // namespace simcam
