#include "datatypes/model_tokens.h"

#include "datatypes/found_fields.h"
#include "datatypes/model_printer.h"

namespace kyv_internal {
namespace {

// The modes and the fields that stand before a token.
class TokenCollector {
 public:
  explicit TokenCollector(ModelTokens& tokens, std::string_view model) : tokens_(tokens), model_(model) {}

  void take(const FoundToken& found) {
    const ModelToken token = found.row.token;
    if (token == ModelToken::kFM) fill_ = !fill_;
    if (token == ModelToken::kFX) tokens_.exactAtEnd = !tokens_.exactAtEnd;
    const bool isMode = token == ModelToken::kFM || token == ModelToken::kFX;
    const auto position = static_cast<std::size_t>(found.letters.data() - model_.data());
    const char character = token == ModelToken::kLiteral ? found.letters.front() : found.letters.back();
    (isMode ? tokens_.modes : tokens_.steps)
        .push_back(
            {token, caseOf(found.letters), character, fill_, tokens_.exactAtEnd, position, found.letters.size()});
    if (!isMode && token != ModelToken::kLiteral) check(tokens_.steps.back());
  }

 private:
  void check(const ModelTokenStep& step) {
    const auto fault = [&](const char* message) { return kyv::ModelFault{message, step.position, step.length}; };
    if (!tokens_.formatFault && sourceOf(step.token) == FieldSource::kNone) {
      tokens_.formatFault = fault("this token cannot be printed");
    }
    if (tokens_.parseFault) return;
    const auto [gives, excludes] = claimOf(step.token);
    if (gives == 0) tokens_.parseFault = fault("this token cannot be read");
    if ((given_ & excludes) != 0) tokens_.parseFault = fault("this token reads what a token before it has read");
    given_ |= gives;
    tokens_.readsYear |= tellsYear(gives);
  }

  ModelTokens& tokens_;
  std::string_view model_;
  bool fill_ = false;
  GivenFields given_ = 0;
};

// Where a quotation without end begins.
kyv::ModelFault openQuotation(std::string_view model) {
  const std::size_t quote = model.rfind('"');
  return {"a quotation has no end", quote, model.size() - quote};
}

}  // namespace

ModelTokens::ModelTokens(std::string_view model) {
  int state = kBetweenTokens;
  TokenCollector collector(*this, model);
  scanModel(model, state, [&](const FoundToken& found) {
    collector.take(found);
    return true;
  });
  if (state == kBetweenTokens) return;
  if (!formatFault) formatFault = openQuotation(model);
  if (!parseFault) parseFault = openQuotation(model);
}

const char* meaningOf(const ModelTokenStep& step) {
  using enum ModelToken;
  switch (step.token) {
    case kLiteral:
      return "as it stands";
    case kFM:
      return step.fill ? "fill mode on" : "fill mode off";
    case kFX:
      return step.exact ? "exact mode on" : "exact mode off";
    case kAM:
    case kPM:
      return "AM or PM";
    case kD:
      return "day of the week, 1 is Sunday";
    case kDD:
      return "day of the month";
    case kDDD:
      return "day of the year";
    case kDAY:
      return "weekday";
    case kDY:
      return "weekday, short";
    case kHH:
    case kHH12:
      return "hour of 12";
    case kHH24:
      return "hour";
    case kMI:
      return "minute";
    case kMIC:
      return "microseconds since 1970";
    case kMM:
      return "month";
    case kMON:
      return "month, short name";
    case kMONTH:
      return "month, name";
    case kMS:
      return "milliseconds since 1970";
    case kQ:
      return "quarter";
    case kRM:
      return "month, Roman number";
    case kRR:
      return "year of a near century";
    case kYYYY:
    case kRRRR:
      return "year";
    case kSE:
      return "seconds since 1970";
    case kSS:
      return "second";
    case kSSSSS:
      return "seconds since midnight";
    case kFF:
    case kFFn:
      return "fraction of the second";
    case kTZD:
      return "zone, short name";
    case kTZH:
      return "zone's hours from UTC";
    case kTZM:
      return "zone's minutes from UTC";
    case kTZR:
      return "zone, name";
    case kW:
      return "week of the month";
    case kWW:
      return "week of the year";
    case kY:
      return "year's last digit";
    case kYY:
      return "year's last two digits";
    case kYYY:
      return "year's last three digits";
    case kDAYS:
    case kHOURS:
    case kMINUTES:
    case kSECONDS:
      return "part of a duration";
  }
  return "";
}

}  // namespace kyv_internal
