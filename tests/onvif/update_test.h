#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "onvif/onvifmedia.h"
#include "tests/onvif/service_test.h"

namespace testsupport {

/// The request for all profiles, the source of templates.
inline constexpr char kAskProfiles[] = R"(<GetProfiles xmlns="http://www.onvif.org/ver10/media/wsdl" />)";

/// Text of a test without its line feeds and the blanks behind them.
std::string OneLine(std::string_view text);

/// Canonical form of a document; what is wrong with it when it is not well formed.
std::string Canonical(std::string_view text);

/// A document as libxml2 writes it: in contrast to the canonical form, each namespace declaration stays where it stands.
std::string Rewritten(std::string_view text);

/// An element of the common schema as a Set request holds it: the namespace stands on it as the default one.
std::string Schema(std::string_view name, std::string_view content);

/// The whole body of a Set request: `elements` inside "Configuration", and what stands around them.
std::string SetBody(std::string_view operation, std::string_view token, std::string_view elements);

/// Encoder updates: requests of text, then one document.
class UpdateTest : public ServiceTest<OnvifMediaService> {
 protected:
  /// Scripts a successful answer with this Body.
  void AnswerBody(std::string_view body);

  /// Scripts what an update is answered with.
  void AnswerUpdated() { AnswerBody(""); }

  /// Fails unless the camera was asked for exactly these bodies, byte for byte, since the last check.
  void ExpectRead(const std::vector<std::string>& reads);

  /// The same, and then for one document more that is canonically the signed envelope around
  /// `set`, with its namespace declarations on the same elements.
  void ExpectReadAndSet(const std::vector<std::string>& reads, const std::string& set);

  /// What the published schemas find wrong with the camera's last request.
  std::vector<std::string> SchemaProblems() const;

 private:
  void ExpectPrefix(const std::vector<HttpRequest>& requests, const std::vector<std::string>& reads) const;

  std::size_t m_checked = 0;
};

}  // namespace testsupport
