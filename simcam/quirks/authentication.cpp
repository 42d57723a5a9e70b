// Cameras that check who is calling in a way of their own, or say so in one.
#include <algorithm>
#include <iterator>
#include <map>
#include <string_view>
#include <utility>

#include "simcam/quirks/quirk.h"

namespace simcam {

namespace {

constexpr const char* kRefusedCode = "ter:NotAuthorized";

// The rules.

void RefuseTokens(CallRules& rules, const QuirkValue&) {
  rules.access.refusesTokens = true;
}

void OpenToAll(CallRules& rules, const QuirkValue&) {
  rules.access.isOpenToAll = true;
}

void OpenNothing(CallRules& rules, const QuirkValue&) {
  rules.access.opensNothing = true;
}

void OverlookOpen(CallRules& rules, const QuirkValue&) {
  rules.access.overlooksOpen = true;
}

void RefuseTokenOpen(CallRules& rules, const QuirkValue&) {
  rules.access.refusesTokenOpen = true;
}

void WantPlainText(CallRules& rules, const QuirkValue&) {
  rules.access.token.wantsPlainText = true;
}

void DigestNonceText(CallRules& rules, const QuirkValue&) {
  rules.access.token.digestsNonceText = true;
}

void AllowRepeatedNonces(CallRules& rules, const QuirkValue&) {
  rules.access.token.allowsRepeatedNonces = true;
}

void RefuseFraction(CallRules& rules, const QuirkValue&) {
  rules.access.token.fraction = TokenRules::Fraction::Refused;
}

void WantFraction(CallRules& rules, const QuirkValue&) {
  rules.access.token.fraction = TokenRules::Fraction::Wanted;
}

void WantDigest(CallRules& rules, const QuirkValue&) {
  if (rules.access.proof == Proof::Token) {
    rules.access.proof = Proof::Digest;
  }
}

// What a choice of algorithms means, in the order in which the challenges stand.
void WantProof(CallRules& rules, const QuirkValue& value, Proof proof) {
  static const std::map<std::string, std::vector<DigestAlgorithm>> algorithms = {
      {"md5", {DigestAlgorithm::Md5}},
      {"sha-256", {DigestAlgorithm::Sha256}},
      {"both", {DigestAlgorithm::Sha256, DigestAlgorithm::Md5}}};
  rules.access.proof = proof;
  rules.access.digest.algorithms = algorithms.at(value.Text());
}

void WantDigestOnly(CallRules& rules, const QuirkValue& value) {
  WantProof(rules, value, Proof::Digest);
}

void WantTokenOrDigest(CallRules& rules, const QuirkValue& value) {
  WantProof(rules, value, Proof::TokenOrDigest);
}

void WantTokenAndDigest(CallRules& rules, const QuirkValue& value) {
  WantProof(rules, value, Proof::TokenAndDigest);
}

void MakeAllStale(CallRules& rules, const QuirkValue& value) {
  WantDigest(rules, value);
  rules.access.digest.isAlwaysStale = true;
}

void BeginWithUnknown(CallRules& rules, const QuirkValue& value) {
  WantDigest(rules, value);
  rules.access.digest.beginsWithUnknown = true;
}

void EndWithBasic(CallRules& rules, const QuirkValue& value) {
  WantDigest(rules, value);
  rules.access.digest.endsWithBasic = true;
}

void WantOpaque(CallRules& rules, const QuirkValue& value) {
  WantDigest(rules, value);
  rules.access.digest.wantsOpaque = true;
}

void SetRealm(CallRules& rules, const QuirkValue& value) {
  WantDigest(rules, value);
  rules.access.digest.realm = value.Text();
}

void LockAfter(CallRules& rules, const QuirkValue& value) {
  rules.access.triesUntilLock = static_cast<unsigned>(value.Whole());
}

void LimitRole(CallRules& rules, const QuirkValue& value) {
  rules.access.role = value.Text() == "user" ? Role::User : Role::Operator;
}

void SetRefusalStatus(CallRules& rules, const QuirkValue& value) {
  rules.access.refusal.status = value.Whole();
}

void RefuseEmpty(CallRules& rules, const QuirkValue&) {
  rules.access.refusal = {401, RefusalRules::Body::Empty};
}

void RefuseByPage(CallRules& rules, const QuirkValue&) {
  rules.access.refusal = {401, RefusalRules::Body::Page};
}

// The looks of a refusal. Other answers stay as they are.

// The element whose text is the subcode of a refusal; null for other answers.
xmlNode* RefusedValue(const AnswerDocument& answer) {
  for (xmlNode* const value : answer.FindAll("Value", answer.Find("Fault"))) {
    if (AnswerDocument::TextOf(value) == kRefusedCode) {
      return value;
    }
  }
  return nullptr;
}

// The element of the fault's namespace and prefix that holds a further subcode with that text.
xmlNode* AddSubcode(xmlNode* parent, const char* text) {
  xmlNode* const subcode = xmlNewChild(parent, parent->ns, ToXml("Subcode"), nullptr);
  xmlNewTextChild(subcode, parent->ns, ToXml("Value"), ToXml(text));
  return subcode;
}

void RenameSubcode(AnswerDocument& answer, const QuirkValue& value) {
  xmlNode* const code = RefusedValue(answer);
  if (code == nullptr) {
    return;
  }
  const std::string& text = value.Text();
  if (text.rfind("wsse:", 0) == 0) {
    constexpr const char* kSecext = "http://docs.oasis-open.org/wss/2004/01/oasis-200401-wss-wssecurity-secext-1.0.xsd";
    xmlNewNs(code, ToXml(kSecext), ToXml("wsse"));
  }
  if (text.rfind("ns1:", 0) == 0) {
    xmlNewNs(code, ToXml("http://www.onvif.org/ver10/error"), ToXml("ns1"));
  }
  AnswerDocument::SetText(code, text);
}

void NestSubcodes(AnswerDocument& answer, const QuirkValue&) {
  if (xmlNode* const code = RefusedValue(answer)) {
    AnswerDocument::SetText(code, "ter:Action");
    AddSubcode(AddSubcode(code->parent, "ter:AccessDenied"), kRefusedCode);
  }
}

void DropSubcode(AnswerDocument& answer, const QuirkValue&) {
  if (xmlNode* const code = RefusedValue(answer)) {
    AnswerDocument::Remove(code->parent);
  }
}

void BlameReceiver(AnswerDocument& answer, const QuirkValue&) {
  if (RefusedValue(answer) != nullptr) {
    AnswerDocument::SetText(answer.Find("Value"), "env:Receiver");
  }
}

void EmptyReason(AnswerDocument& answer, const QuirkValue&) {
  if (RefusedValue(answer) != nullptr) {
    AnswerDocument::SetText(answer.Find("Text"), "");
  }
}

void TranslateReason(AnswerDocument& answer, const QuirkValue& value) {
  static const std::map<std::string, const char*> reasons = {
      {"zh", "用户名或密码错误"}, {"de", "Benutzername oder Kennwort ungültig"}, {"ja", "認証に失敗しました"}};
  if (RefusedValue(answer) == nullptr) {
    return;
  }
  xmlNode* const text = answer.Find("Text");
  xmlNodeSetLang(text, ToXml(value.Text()));
  AnswerDocument::SetText(text, reasons.at(value.Text()));
}

std::vector<Quirk> WhoIsAccepted() {
  constexpr int kMaxTries = 100;
  return {
      {"auth-none", "nobody is asked who he is: a wrong password looks right", {}, {}, RulesHook(OpenToAll)},
      {"auth-all",
       "operations that are open to all ask for credentials: a first contact without them fails",
       {},
       {},
       RulesHook(OpenNothing)},
      {"auth-open-overlooks",
       "open operations do not look at the token: a connection test succeeds with any password",
       {},
       {},
       RulesHook(OverlookOpen)},
      {"auth-open-refuses",
       "open operations refuse every token: a client that signs all calls never gets started",
       {},
       {},
       RulesHook(RefuseTokenOpen)},
      {"auth-lockout",
       "wrong tries lock the account for 300 seconds, also for the right password: a retry loop locks it",
       WholeParameter("wrong tries in a row", "5", 1, kMaxTries),
       {},
       RulesHook(LockAfter)},
      {"auth-role",
       "the account may not change the camera: questions are answered, everything else is not authorized",
       ChoiceParameter("what the account is: an operator still moves the lens", {"operator", "user"}),
       {},
       RulesHook(LimitRole)},
  };
}

std::vector<Quirk> HowTokensAreChecked() {
  return {
      {"auth-token-refused",
       "every token is refused, also a right one: it looks like a wrong password",
       {},
       {},
       RulesHook(RefuseTokens)},
      {"auth-token-plain",
       "only the password itself is accepted, of type PasswordText: a digest is refused",
       {},
       {},
       RulesHook(WantPlainText)},
      {"auth-token-nonce-text",
       "the digest goes over the nonce as it is written, not over its bytes",
       {},
       {},
       RulesHook(DigestNonceText)},
      {"auth-token-replay",
       "a nonce may be used again: a client that repeats its token is never found out",
       {},
       {},
       RulesHook(AllowRepeatedNonces)},
      {"auth-created-whole",
       "a token whose time has a fraction of a second is refused",
       {},
       {},
       RulesHook(RefuseFraction)},
      {"auth-created-fraction",
       "a token whose time has no fraction of a second is refused",
       {},
       {},
       RulesHook(WantFraction)},
  };
}

QuirkParameter Algorithms() {
  return ChoiceParameter("the algorithm; both: two challenges", {"md5", "sha-256", "both"});
}

std::vector<Quirk> HowDigestIsWanted() {
  return {
      {"digest-wanted",
       "HTTP Digest is wanted and tokens are not looked at: a client that knows only tokens stays out",
       Algorithms(),
       {},
       RulesHook(WantDigestOnly)},
      {"digest-or-token",
       "a token or HTTP Digest is accepted, and Digest is asked for when there is no token",
       Algorithms(),
       {},
       RulesHook(WantTokenOrDigest)},
      {"digest-and-token",
       "HTTP Digest and a token are wanted at once: each alone is refused",
       Algorithms(),
       {},
       RulesHook(WantTokenAndDigest)},
      {"digest-stale-always",
       "HTTP Digest, and every nonce is stale when it comes back: a client tries without end",
       {},
       {},
       RulesHook(MakeAllStale)},
      {"digest-unknown-first",
       "HTTP Digest, and the first challenge is of an unknown algorithm: a client must skip it",
       {},
       {},
       RulesHook(BeginWithUnknown)},
      {"digest-basic-beside",
       "HTTP Digest, and a Basic challenge beside it: a careless client sends the password openly",
       {},
       {},
       RulesHook(EndWithBasic)},
      {"digest-opaque",
       "HTTP Digest with an opaque text that must come back: a client that drops it is refused",
       {},
       {},
       RulesHook(WantOpaque)},
      {"digest-realm",
       "HTTP Digest with an odd realm: a client that does not read quotes and escapes is refused",
       TextParameter("the realm", "Camera \"Yard\", \\north"),
       {},
       RulesHook(SetRealm)},
  };
}

std::vector<Quirk> HowRefusalsLook() {
  constexpr int kMinStatus = 200;
  constexpr int kMaxStatus = 599;
  return {
      {"auth-fault-status",
       "a refusal has an HTTP status of its own: a client reads it before, or in place of, the fault",
       WholeParameter("HTTP status", "401", kMinStatus, kMaxStatus),
       {},
       RulesHook(SetRefusalStatus)},
      {"auth-empty-refusal",
       "a refusal is status 401 with an empty body: no fault tells the reason",
       {},
       {},
       RulesHook(RefuseEmpty)},
      {"auth-html-refusal",
       "a refusal is status 401 with a web page: a client that wants XML calls it a bad answer",
       {},
       {},
       RulesHook(RefuseByPage)},
      {"auth-fault-subcode",
       "a refusal has another subcode: a client that looks for ter:NotAuthorized finds none",
       ChoiceParameter("the subcode",
                       {"ter:FailedAuthentication", "wsse:FailedAuthentication", "ter:OperationProhibited",
                        "ter:Password", "ns1:NotAuthorized", "NotAuthorized"}),
       {},
       DocumentHook(RenameSubcode)},
      {"auth-fault-nested",
       "the subcode of a refusal is the third one inside others",
       {},
       {},
       DocumentHook(NestSubcodes)},
      {"auth-fault-without-subcode",
       "a refusal has no subcode: it looks like any other fault",
       {},
       {},
       DocumentHook(DropSubcode)},
      {"auth-fault-receiver",
       "a refusal blames the receiver: a client tries again what cannot succeed",
       {},
       {},
       DocumentHook(BlameReceiver)},
      {"auth-fault-without-reason",
       "the reason of a refusal is empty: there is nothing to show to people",
       {},
       {},
       DocumentHook(EmptyReason)},
      {"auth-fault-language",
       "the reason of a refusal is in another language than English",
       ChoiceParameter("the language", {"zh", "de", "ja"}),
       {},
       DocumentHook(TranslateReason)},
  };
}

}  // namespace

QuirkGroup AuthenticationQuirks() {
  QuirkGroup group{"authentication", WhoIsAccepted()};
  for (std::vector<Quirk> rows : {HowTokensAreChecked(), HowDigestIsWanted(), HowRefusalsLook()}) {
    std::move(rows.begin(), rows.end(), std::back_inserter(group.quirks));
  }
  return group;
}

}  // namespace simcam
