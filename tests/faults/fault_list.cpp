// Faults that do not look into an answer.

#include <memory>
#include <regex>

#include "platform/httplimits.h"
#include "tests/faults/fault.h"
#include "tests/support/envelope.h"

namespace faults {
namespace {

using testsupport::FaultEnvelope;
using testsupport::Reply;

constexpr int kDepth = 10000;
constexpr int kAttributes = 80000;

std::string Repeated(const std::string& text, std::size_t times) {
  std::string all;
  all.reserve(text.size() * times);
  for (std::size_t i = 0; i < times; ++i) all += text;
  return all;
}

Fault Fixed(std::string name, FaultClass kind, const Reply& reply) {
  // Shared by the copies of the fault: some of them are large.
  return {std::move(name), kind, [shared = std::make_shared<const Reply>(reply)](const Reply&) { return *shared; }};
}

/// The good answer with another text in its body. The camera has done what it was asked for.
Fault Rewritten(std::string name, FaultClass kind, std::function<std::string(const std::string&)> rewrite) {
  return {std::move(name),
          kind,
          [rewrite = std::move(rewrite)](const Reply& good) { return Reply::Ok(rewrite(BodyOf(good))); },
          Line::kAsItIs,
          false,
          true};
}

/// The first bytes of the good answer, and then the end.
Fault BrokenAt(std::string name, std::function<std::size_t(const std::string&)> place, Reply::End end) {
  return {std::move(name),
          FaultClass::kSendFailed,
          [place = std::move(place), end](const Reply& good) {
            return Reply::Raw(good.bytes.substr(0, place(good.bytes)), end);
          },
          Line::kFresh,
          end == Reply::End::kStall || end == Reply::End::kDrip,
          true};
}

std::size_t Nothing(const std::string&) {
  return 0;
}
std::size_t OneByte(const std::string&) {
  return 1;
}
std::size_t StatusLine(const std::string& bytes) {
  return bytes.find("\r\n") + 2;
}
std::size_t Header(const std::string& bytes) {
  return bytes.find("\r\n\r\n") + 4;
}
std::size_t HalfTheBody(const std::string& bytes) {
  return (Header(bytes) + bytes.size()) / 2;
}
std::size_t AllButOne(const std::string& bytes) {
  return bytes.size() - 1;
}

std::string Replaced(const std::string& text, const std::string& what, const std::string& with) {
  std::string replaced = text;
  for (std::size_t at = 0; (at = replaced.find(what, at)) != std::string::npos; at += with.size()) {
    replaced.replace(at, what.size(), with);
  }
  return replaced;
}

/// Text put in front of the end of the root's start tag.
std::string WithRootAttribute(const std::string& body, const std::string& attribute) {
  std::string changed = body;
  const std::size_t root = changed.find(":Envelope");
  return changed.insert(changed.find('>', root), attribute);
}

/// The good answer made `size` bytes long by a comment at its end.
std::string PaddedTo(const std::string& body, std::size_t size) {
  const std::string open = "<!--";
  const std::string close = "-->";
  return body + open + std::string(size - body.size() - open.size() - close.size(), ' ') + close;
}

std::vector<Fault> LineFaults() {
  using End = Reply::End;
  std::vector<Fault> list = {
      BrokenAt("reset before a byte of the answer", Nothing, End::kReset),
      BrokenAt("reset after a byte", OneByte, End::kReset),
      BrokenAt("reset after the status line", StatusLine, End::kReset),
      BrokenAt("reset after the header", Header, End::kReset),
      BrokenAt("reset in the body", HalfTheBody, End::kReset),
      BrokenAt("reset before the last byte", AllButOne, End::kReset),
      BrokenAt("closed before a byte of the answer", Nothing, End::kClose),
      BrokenAt("closed after the header", Header, End::kClose),
      BrokenAt("closed before the last byte", AllButOne, End::kClose),
      BrokenAt("stall", Nothing, End::kStall),
      BrokenAt("stall in the body", HalfTheBody, End::kStall),
      {"slow drip", FaultClass::kSendFailed, [](const Reply& good) { return Reply::Drip(good.bytes); }, Line::kFresh,
       true, true},
  };
  const auto asItIs = [](const Reply& good) { return good; };
  list.push_back({"stale connection", FaultClass::kHarmless, asItIs, Line::kStale, false, true});
  list.push_back({"reset at connect", FaultClass::kSendFailed, asItIs, Line::kResets, false, false});
  list.push_back({"no listener", FaultClass::kSendFailed, asItIs, Line::kRefused, false, false});
  return list;
}

std::vector<Fault> RefusalFaults() {
  const std::string refused = FaultEnvelope("ter:NotAuthorized", "Go away");
  const std::string other = FaultEnvelope("ter:InvalidArgVal", "Not so");
  const std::string nested =
      std::regex_replace(other, std::regex("(</[A-Za-z]+:Value>)(</[A-Za-z]+:Subcode>)"),
                         "$1<soapenv:Subcode><soapenv:Value>ter:NotAuthorized</soapenv:Value></soapenv:Subcode>$2");
  const std::string bare = testsupport::Envelope("<soapenv:Fault/>");
  const std::string soap11 =
      "<?xml version=\"1.0\"?><e:Envelope xmlns:e=\"http://schemas.xmlsoap.org/soap/envelope/\"><e:Body><e:Fault>"
      "<faultcode>e:Client</faultcode><faultstring>ter:NotAuthorized</faultstring></e:Fault></e:Body></e:Envelope>";
  return {
      Fixed("401", FaultClass::kNotAuthorized, Reply::Status(401)),
      Fixed("401 with another fault", FaultClass::kNotAuthorized, Reply::Status(401, other)),
      Fixed("NotAuthorized fault", FaultClass::kNotAuthorized, Reply::Status(400, refused)),
      Fixed("NotAuthorized fault with status 200", FaultClass::kNotAuthorized, Reply::Ok(refused)),
      Fixed("FailedAuthentication fault", FaultClass::kNotAuthorized,
            Reply::Status(500, FaultEnvelope("wsse:FailedAuthentication", "No"))),
      Fixed("other fault", FaultClass::kSoapFault, Reply::Status(400, other)),
      Fixed("other fault with status 200", FaultClass::kSoapFault, Reply::Ok(other)),
      Fixed("500 with a fault", FaultClass::kSoapFault, Reply::Status(500, other)),
      Fixed("fault with a nested NotAuthorized", FaultClass::kSoapFault, Reply::Status(400, nested)),
      Fixed("fault without codes", FaultClass::kSoapFault, Reply::Status(500, bare)),
      Fixed("SOAP 1.1 fault", FaultClass::kSoapFault, Reply::Status(500, soap11)),
      Fixed("403 without body", FaultClass::kSendFailed, Reply::Status(403)),
      Fixed("500 without body", FaultClass::kSendFailed, Reply::Status(500)),
      Fixed("500 with text", FaultClass::kSendFailed, Reply::Status(500, "Internal error")),
      Fixed("redirect", FaultClass::kSendFailed, Reply::Status(302, "", "Location: http://127.0.0.1:9/\r\n")),
      {"500 with the good answer", FaultClass::kHarmless,
       [](const Reply& good) { return Reply::Status(500, BodyOf(good)); }, Line::kAsItIs, false, true},
  };
}

std::vector<Fault> BodyFaults() {
  const auto nothing = FaultClass::kNothing;
  const auto sendFailed = FaultClass::kSendFailed;
  return {
      Fixed("empty answer", sendFailed, Reply::Ok("")),
      Fixed("HTML", sendFailed, Reply::Ok("<html><body>Log in<br></body></html>")),
      Fixed("no XML", sendFailed, Reply::Ok("OK")),
      Fixed("not HTTP", sendFailed, Reply::Raw("SSH-2.0-OpenSSH\r\n")),
      Rewritten("undeclared entity", sendFailed,
                [](const std::string& body) { return Replaced(body, "Body>", "Body>&camera;"); }),
      Rewritten("two documents", sendFailed, [](const std::string& body) { return body + body; }),
      Rewritten(
          "wrong namespace", nothing,
          [](const std::string& body) { return Replaced(body, "http://www.onvif.org/", "http://www.example.org/"); }),
      Rewritten("default namespace at the root", nothing,
                [](const std::string& body) { return WithRootAttribute(body, " xmlns=\"urn:other\""); }),
      Fixed("XHTML", nothing, Reply::Ok("<html><body>Log in</body></html>")),
      Fixed("empty Body", nothing, Reply::Ok(testsupport::Envelope(""))),
      Fixed("another answer", nothing, Reply::Ok(testsupport::Envelope("<tds:SetSystemFactoryDefaultResponse/>"))),
      Rewritten("bytes of another encoding", FaultClass::kHarmless,
                [](const std::string& body) { return body + "<!-- \xb0\xa1 -->"; }),
  };
}

std::vector<Fault> LimitFaults() {
  const auto sendFailed = FaultClass::kSendFailed;
  const std::string deep = Repeated("<a>", kDepth) + Repeated("</a>", kDepth);
  std::string attributes = "<a";
  for (int i = 0; i < kAttributes; ++i) attributes += " a" + std::to_string(i) + "=\"\"";
  const std::string elements = "<a>" + Repeated("<b/>", (HTTP_MAX_ANSWER_BYTES - 8) / 4) + "</a>";
  return {
      Rewritten("DOCTYPE", sendFailed,
                [](const std::string& body) {
                  return "<!DOCTYPE a [<!ENTITY b \"c\">]>" + body.substr(body.find("?>") + 2);
                }),
      Rewritten("one byte over the size ceiling", sendFailed,
                [](const std::string& body) { return PaddedTo(body, HTTP_MAX_ANSWER_BYTES + 1); }),
      Rewritten("as large as the ceiling", FaultClass::kHarmless,
                [](const std::string& body) { return PaddedTo(body, HTTP_MAX_ANSWER_BYTES); }),
      Fixed("nested deep", sendFailed, Reply::Ok(testsupport::Envelope(deep))),
      Fixed("many attributes", sendFailed, Reply::Ok(testsupport::Envelope(attributes + "/>"))),
      Fixed("4 MiB of empty elements", sendFailed, Reply::Ok(elements)),
  };
}

}  // namespace

std::string BodyOf(const Reply& reply) {
  return reply.bytes.substr(Header(reply.bytes));
}

const std::vector<Fault>& GeneralFaults() {
  static const std::vector<Fault> faults = [] {
    std::vector<Fault> all;
    for (const auto& some : {LineFaults(), RefusalFaults(), BodyFaults(), LimitFaults()}) {
      all.insert(all.end(), some.begin(), some.end());
    }
    return all;
  }();
  return faults;
}

std::vector<Fault> CutFaults(const std::string& body, std::size_t step) {
  std::vector<Fault> list;
  for (std::size_t at = step; at < body.rfind('>'); at += step) {
    const std::string place = std::to_string(at);
    list.push_back(Rewritten("truncated at " + place, FaultClass::kSendFailed,
                             [at](const std::string& whole) { return whole.substr(0, at); }));
    list.push_back(BrokenAt(
        "reset at " + place, [at](const std::string& bytes) { return Header(bytes) + at; }, Reply::End::kReset));
  }
  return list;
}

}  // namespace faults
