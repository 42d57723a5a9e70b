#include "simcam/httpdigest.h"

#include <openssl/crypto.h>
#include <openssl/evp.h>
#include <openssl/hmac.h>
#include <openssl/rand.h>

#include <algorithm>
#include <cstdio>
#include <stdexcept>
#include <utility>

namespace simcam {

namespace {

constexpr std::string_view kScheme = "digest";
constexpr std::size_t kNumberDigits = 16;  // of each of the two numbers in a nonce
constexpr std::size_t kSealDigits = 32;

struct AlgorithmRow {
  DigestAlgorithm algorithm;
  const char* name;
  const EVP_MD* (*function)();
};

constexpr AlgorithmRow kAlgorithms[] = {
    {DigestAlgorithm::Md5, "MD5", EVP_md5},
    {DigestAlgorithm::Sha256, "SHA-256", EVP_sha256},
};

const AlgorithmRow& RowOf(DigestAlgorithm algorithm) {
  return *std::find_if(std::begin(kAlgorithms), std::end(kAlgorithms),
                       [algorithm](const AlgorithmRow& row) { return row.algorithm == algorithm; });
}

struct VerdictRow {
  DigestVerdict verdict;
  int status;
  const char* meaning;
};

constexpr VerdictRow kVerdicts[] = {
    {DigestVerdict::Accepted, 200, "accepted"},
    {DigestVerdict::Missing, 401, "the request carries no credentials"},
    {DigestVerdict::OtherScheme, 401, "only HTTP Digest is accepted"},
    {DigestVerdict::Malformed, 400, "the Authorization header is malformed"},
    {DigestVerdict::Incomplete, 400, "the Authorization header lacks a parameter"},
    {DigestVerdict::WrongQop, 400, "only qop=auth is accepted"},
    {DigestVerdict::WrongUri, 400, "the credentials are for another address"},
    {DigestVerdict::WrongAlgorithm, 401, "the algorithm was not offered"},
    {DigestVerdict::WrongRealm, 401, "the credentials are for another realm"},
    {DigestVerdict::WrongUser, 401, "wrong user name or password"},
    {DigestVerdict::WrongResponse, 401, "wrong user name or password"},
    {DigestVerdict::Stale, 401, "the nonce is not valid any more"},
    {DigestVerdict::Replayed, 401, "the nonce count was used before"},
};

const VerdictRow& RowOf(DigestVerdict verdict) {
  return *std::find_if(std::begin(kVerdicts), std::end(kVerdicts),
                       [verdict](const VerdictRow& row) { return row.verdict == verdict; });
}

// The parameters that must be there, and whether they stand in quotes.
struct ParameterRow {
  const char* name;
  bool quoted;
};

constexpr ParameterRow kNeeded[] = {
    {"username", true}, {"realm", true},  {"nonce", true}, {"uri", true},
    {"response", true}, {"cnonce", true}, {"nc", false},   {"qop", false},
};
constexpr ParameterRow kOptional[] = {{"algorithm", false}};

char LowerCase(char c) {
  return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

std::string LowerCase(std::string_view text) {
  std::string lower(text);
  std::transform(lower.begin(), lower.end(), lower.begin(), [](char c) { return LowerCase(c); });
  return lower;
}

bool IsTokenChar(char c) {
  return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') ||
         std::string_view("!#$%&'*+-.^_`|~").find(c) != std::string_view::npos;
}

bool IsBlank(char c) {
  return c == ' ' || c == '\t';
}

bool IsControl(char c) {
  return (static_cast<unsigned char>(c) < 0x20 && c != '\t') || c == 0x7F;
}

std::string Hex(const unsigned char* bytes, std::size_t size) {
  constexpr char kDigits[] = "0123456789abcdef";
  std::string text;
  for (std::size_t i = 0; i < size; ++i) {
    text += {kDigits[bytes[i] >> 4U], kDigits[bytes[i] & 15U]};
  }
  return text;
}

// Lower-case hexadecimal digits, as all of this is written.
bool IsHex(std::string_view text) {
  return text.find_first_not_of("0123456789abcdef") == std::string_view::npos;
}

// Of at most 16 digits.
std::optional<std::uint64_t> ReadHex(std::string_view text) {
  if (text.empty() || text.size() > kNumberDigits || !IsHex(text)) {
    return std::nullopt;
  }
  std::uint64_t value = 0;
  for (const char c : text) {
    value = value * 16 + static_cast<std::uint64_t>(c <= '9' ? c - '0' : c - 'a' + 10);
  }
  return value;
}

std::string WriteHex(std::uint64_t value) {
  std::array<char, kNumberDigits + 1> text{};
  std::snprintf(text.data(), text.size(), "%016llx", static_cast<unsigned long long>(value));
  return text.data();
}

// Takes as long for every text of the same length.
bool IsSameSecret(const std::string& a, const std::string& b) {
  return a.size() == b.size() && CRYPTO_memcmp(a.data(), b.data(), a.size()) == 0;
}

std::string Hash(DigestAlgorithm algorithm, const std::string& text) {
  std::array<unsigned char, EVP_MAX_MD_SIZE> bytes{};
  unsigned size = 0;
  if (EVP_Digest(text.data(), text.size(), bytes.data(), &size, RowOf(algorithm).function(), nullptr) != 1) {
    throw std::runtime_error(std::string("the system does not compute ") + RowOf(algorithm).name);
  }
  return Hex(bytes.data(), size);
}

// Reads a list of parameters from its beginning to its end.
class ListReader {
 public:
  explicit ListReader(std::string_view text) : m_rest(text) {}

  // Skips blanks and empty places of the list; true when a parameter follows.
  bool FindNext() {
    while (!m_rest.empty() && (IsBlank(m_rest.front()) || m_rest.front() == ',')) {
      m_rest.remove_prefix(1);
    }
    return !m_rest.empty();
  }

  // True at the end of the text, or when a comma follows.
  bool IsAtEndOfParameter() {
    SkipBlanks();
    return m_rest.empty() || m_rest.front() == ',';
  }

  std::string Token() {
    const auto end = std::find_if_not(m_rest.begin(), m_rest.end(), IsTokenChar);
    return Take(static_cast<std::size_t>(end - m_rest.begin()));
  }

  bool SkipEquals() {
    SkipBlanks();
    const bool isThere = !m_rest.empty() && m_rest.front() == '=';
    m_rest.remove_prefix(isThere ? 1 : 0);
    SkipBlanks();
    return isThere;
  }

  // Nothing when it is neither a token nor a quoted text with its end.
  std::optional<DigestParameter> Value() {
    if (m_rest.empty() || m_rest.front() != '"') {
      std::string token = Token();
      return token.empty() ? std::nullopt : std::optional<DigestParameter>({std::move(token), false});
    }
    m_rest.remove_prefix(1);
    return Quoted();
  }

 private:
  void SkipBlanks() {
    while (!m_rest.empty() && IsBlank(m_rest.front())) {
      m_rest.remove_prefix(1);
    }
  }

  std::string Take(std::size_t size) {
    std::string taken(m_rest.substr(0, size));
    m_rest.remove_prefix(size);
    return taken;
  }

  std::optional<DigestParameter> Quoted() {
    std::string text;
    for (std::size_t i = 0; i < m_rest.size(); ++i) {
      if (m_rest[i] == '"') {
        m_rest.remove_prefix(i + 1);
        return DigestParameter{std::move(text), true};
      }
      i += m_rest[i] == '\\' ? 1 : 0;
      if (i >= m_rest.size() || IsControl(m_rest[i])) {
        return std::nullopt;
      }
      text += m_rest[i];
    }
    return std::nullopt;
  }

  std::string_view m_rest;
};

bool HasForm(const DigestParameters& parameters, const ParameterRow& row) {
  const auto found = parameters.find(row.name);
  return found == parameters.end() || found->second.quoted == row.quoted;
}

// The form of all that this page knows; what it does not know is let pass.
DigestVerdict CheckForm(const DigestParameters& parameters) {
  const auto hasForm = [&parameters](const ParameterRow& row) { return HasForm(parameters, row); };
  if (!std::all_of(std::begin(kNeeded), std::end(kNeeded), hasForm) ||
      !std::all_of(std::begin(kOptional), std::end(kOptional), hasForm)) {
    return DigestVerdict::Malformed;
  }
  const auto isThere = [&parameters](const ParameterRow& row) { return parameters.count(row.name) != 0; };
  if (!std::all_of(std::begin(kNeeded), std::end(kNeeded), isThere)) {
    return DigestVerdict::Incomplete;
  }
  constexpr std::size_t kCountDigits = 8;
  const std::string& count = parameters.at("nc").value;
  if (count.size() != kCountDigits || !ReadHex(LowerCase(count)) || parameters.at("cnonce").value.empty()) {
    return DigestVerdict::Malformed;
  }
  return parameters.at("qop").value == "auth" ? DigestVerdict::Accepted : DigestVerdict::WrongQop;
}

std::string Quote(const std::string& text) {
  std::string quoted = "\"";
  for (const char c : text) {
    quoted += c == '"' || c == '\\' ? std::string("\\") + c : std::string(1, c);
  }
  return quoted + '"';
}

}  // namespace

const char* Describe(DigestVerdict verdict) {
  return RowOf(verdict).meaning;
}

int StatusOf(DigestVerdict verdict) {
  return RowOf(verdict).status;
}

std::optional<DigestParameters> ParseDigestParameters(std::string_view list) {
  DigestParameters parameters;
  ListReader reader(list);
  while (reader.FindNext()) {
    const std::string name = LowerCase(reader.Token());
    if (name.empty() || !reader.SkipEquals()) {
      return std::nullopt;
    }
    std::optional<DigestParameter> value = reader.Value();
    if (!value || !reader.IsAtEndOfParameter() || !parameters.emplace(name, std::move(*value)).second) {
      return std::nullopt;
    }
  }
  return parameters;
}

DigestChecker::DigestChecker(Account account, std::vector<DigestAlgorithm> algorithms, const Clock& clock)
    : m_account(std::move(account)), m_algorithms(std::move(algorithms)), m_clock(clock) {
  if (RAND_bytes(m_secret.data(), static_cast<int>(m_secret.size())) != 1) {
    throw std::runtime_error("the system has no random numbers");
  }
}

std::chrono::milliseconds DigestChecker::Now() const {
  return std::chrono::floor<std::chrono::milliseconds>(m_clock.SteadyNow().time_since_epoch());
}

std::string DigestChecker::Seal(const std::string& text) const {
  std::array<unsigned char, EVP_MAX_MD_SIZE> bytes{};
  unsigned size = 0;
  if (HMAC(EVP_sha256(), m_secret.data(), static_cast<int>(m_secret.size()),
           reinterpret_cast<const unsigned char*>(text.data()), text.size(), bytes.data(), &size) == nullptr) {
    throw std::runtime_error("the system does not compute a keyed SHA-256");
  }
  return Hex(bytes.data(), size).substr(0, kSealDigits);
}

// Number and time, and the seal that only this camera can make of them.
std::string DigestChecker::WriteNonce(const Nonce& nonce) const {
  const std::string text = WriteHex(nonce.number) + WriteHex(static_cast<std::uint64_t>(nonce.made.count()));
  return text + Seal(text);
}

std::optional<DigestChecker::Nonce> DigestChecker::ReadNonce(const std::string& text) const {
  if (text.size() != 2 * kNumberDigits + kSealDigits) {
    return std::nullopt;
  }
  const std::string numbers = text.substr(0, 2 * kNumberDigits);
  const std::optional<std::uint64_t> number = ReadHex(std::string_view(numbers).substr(0, kNumberDigits));
  const std::optional<std::uint64_t> made = ReadHex(std::string_view(numbers).substr(kNumberDigits));
  if (!number || !made || !IsSameSecret(text.substr(2 * kNumberDigits), Seal(numbers))) {
    return std::nullopt;
  }
  return Nonce{*number, std::chrono::milliseconds(static_cast<std::int64_t>(*made))};
}

std::vector<std::string> DigestChecker::Challenges(DigestVerdict verdict) {
  std::vector<std::string> challenges;
  const std::lock_guard<std::mutex> lock(m_mutex);
  for (const DigestAlgorithm algorithm : m_algorithms) {
    const std::string nonce = WriteNonce({++m_lastNonce, Now()});
    challenges.push_back("Digest realm=" + Quote(m_account.realm) +
                         ", qop=\"auth\", algorithm=" + RowOf(algorithm).name + ", nonce=\"" + nonce + "\"" +
                         (verdict == DigestVerdict::Stale ? ", stale=true" : ""));
  }
  return challenges;
}

DigestVerdict DigestChecker::Check(const std::string& method, const std::string& target,
                                   const std::string& authorization) {
  if (authorization.empty()) {
    return DigestVerdict::Missing;
  }
  if (authorization.size() > kMaxAuthorizationLength) {
    return DigestVerdict::Malformed;
  }
  const std::string_view header(authorization);
  if (LowerCase(header.substr(0, header.find(' '))) != kScheme) {
    return DigestVerdict::OtherScheme;
  }
  std::optional<DigestParameters> parameters = ParseDigestParameters(header.substr(kScheme.size()));
  if (!parameters) {
    return DigestVerdict::Malformed;
  }
  DigestVerdict verdict = CheckForm(*parameters);
  if (verdict == DigestVerdict::Accepted) {
    verdict = CheckIdentity(method, target, *parameters);
  }
  return verdict == DigestVerdict::Accepted
             ? CheckNonce((*parameters)["nonce"].value, ReadHex(LowerCase((*parameters)["nc"].value)).value_or(0))
             : verdict;
}

DigestVerdict DigestChecker::CheckIdentity(const std::string& method, const std::string& target,
                                           DigestParameters& parameters) const {
  if (parameters["uri"].value != target) {
    return DigestVerdict::WrongUri;
  }
  const auto named = parameters.find("algorithm");
  const std::string name = LowerCase(named == parameters.end() ? "MD5" : named->second.value);
  const auto algorithm = std::find_if(m_algorithms.begin(), m_algorithms.end(), [&name](DigestAlgorithm candidate) {
    return LowerCase(RowOf(candidate).name) == name;
  });
  if (algorithm == m_algorithms.end()) {
    return DigestVerdict::WrongAlgorithm;
  }
  if (parameters["realm"].value != m_account.realm) {
    return DigestVerdict::WrongRealm;
  }
  if (parameters["username"].value != m_account.user) {
    return DigestVerdict::WrongUser;
  }
  return IsSameSecret(parameters["response"].value, ResponseTo(*algorithm, method, parameters))
             ? DigestVerdict::Accepted
             : DigestVerdict::WrongResponse;
}

std::string DigestChecker::ResponseTo(DigestAlgorithm algorithm, const std::string& method,
                                      DigestParameters& parameters) const {
  const std::string account = Hash(algorithm, m_account.user + ":" + m_account.realm + ":" + m_account.password);
  const std::string request = Hash(algorithm, method + ":" + parameters["uri"].value);
  return Hash(algorithm, account + ":" + parameters["nonce"].value + ":" + parameters["nc"].value + ":" +
                             parameters["cnonce"].value + ":" + parameters["qop"].value + ":" + request);
}

DigestVerdict DigestChecker::CheckNonce(const std::string& nonce, std::uint64_t count) {
  const std::optional<Nonce> read = ReadNonce(nonce);
  const std::lock_guard<std::mutex> lock(m_mutex);
  const std::chrono::milliseconds now = Now();
  while (!m_uses.empty() && m_uses.begin()->second.made + kDigestNonceLifetime < now) {
    ForgetOldest();
  }
  if (!read || read->number <= m_staleUpTo || read->made + kDigestNonceLifetime < now) {
    return DigestVerdict::Stale;
  }
  Use& use = m_uses[read->number];
  if (count <= use.count) {
    return DigestVerdict::Replayed;
  }
  use = {read->made, count};
  if (m_uses.size() > kMaxDigestNonces) {
    ForgetOldest();
  }
  return DigestVerdict::Accepted;
}

// Numbers grow with time, so that the oldest stands first. A nonce whose count is forgotten must not be used again.
void DigestChecker::ForgetOldest() {
  m_staleUpTo = m_uses.begin()->first;
  m_uses.erase(m_uses.begin());
}

std::size_t DigestChecker::RememberedNonces() const {
  const std::lock_guard<std::mutex> lock(m_mutex);
  return m_uses.size();
}

}  // namespace simcam
