#pragma once

// A parser that writes down which operations the scanner calls: "YYYY '-' MON:upper" for the model YYYY-MON.

#include <string>
#include <string_view>

#include "kyv/time_format_parser.h"

namespace kyv_test {

class TokenTrace final : public DataTypes::TimeFormatParser {
 public:
  // The calls, and what Parse returned when that is false.
  static std::string of(std::string_view model, std::string_view failsAt = {}, bool done = true) {
    TokenTrace trace(failsAt, done);
    if (!trace.Parse(model.data(), model.size())) trace.note("failed");
    return trace.calls_;
  }

  // What a subclass sees of a new object, and after a model.
  std::string scannerState() const {
    return std::to_string(state) + std::to_string(fillMode) + std::to_string(exactMode) + (status ? "ok" : "failed") +
           (fractionDigit != 0 ? std::string(1, fractionDigit) : "");
  }

  TokenTrace() = default;
  TokenTrace(std::string_view failsAt, bool done) : failsAt_(failsAt), done_(done) {}

  void OnFieldFM() override {
    TimeFormatParser::OnFieldFM();
    note(fillMode == 1 ? "FM:on" : "FM:off");
  }
  bool IsDone() override {
    note("done?");
    return done_;
  }
  void OnChar(char c) override { note(std::string("'") + c + "'"); }
  void OnFieldAM(Case letters) override { noteName("AM", letters); }
  void OnFieldPM(Case letters) override { noteName("PM", letters); }
  void OnFieldD() override { note("D"); }
  void OnFieldDD() override { note("DD"); }
  void OnFieldDDD() override { note("DDD"); }
  void OnFieldDAY(Case letters) override { noteName("DAY", letters); }
  void OnFieldDY(Case letters) override { noteName("DY", letters); }
  void OnFieldHH() override { note("HH"); }
  void OnFieldHH12() override { note("HH12"); }
  void OnFieldHH24() override { note("HH24"); }
  void OnFieldMI() override { note("MI"); }
  void OnFieldMIC() override { note("MIC"); }
  void OnFieldMM() override { note("MM"); }
  void OnFieldMON(Case letters) override { noteName("MON", letters); }
  void OnFieldMONTH(Case letters) override { noteName("MONTH", letters); }
  void OnFieldMS() override { note("MS"); }
  void OnFieldRM(Case letters) override { noteName("RM", letters); }
  void OnFieldQ() override { note("Q"); }
  void OnFieldSS() override { note("SS"); }
  void OnFieldSE() override { note("SE"); }
  void OnFieldFF() override { note("FF"); }
  void OnFieldFFn(char digit) override { note(std::string("FF:") + digit); }
  void OnFieldSSSSS() override { note("SSSSS"); }
  void OnFieldTZD() override { note("TZD"); }
  void OnFieldTZH() override { note("TZH"); }
  void OnFieldTZM() override { note("TZM"); }
  void OnFieldTZR() override { note("TZR"); }
  void OnFieldW() override { note("W"); }
  void OnFieldWW() override { note("WW"); }
  void OnFieldRR() override { note("RR"); }
  void OnFieldRRRR() override { note("RRRR"); }
  void OnFieldY() override { note("Y"); }
  void OnFieldYY() override { note("YY"); }
  void OnFieldYYY() override { note("YYY"); }
  void OnFieldYYYY() override { note("YYYY"); }
  void OnFieldDAYS() override { note("DAYS"); }
  void OnFieldHOURS() override { note("HOURS"); }
  void OnFieldMINUTES() override { note("MINUTES"); }
  void OnFieldSECONDS() override { note("SECONDS"); }
  void OnEndOfParse() override { note("end"); }

 private:
  void noteName(const std::string& token, Case letters) {
    note(token + (letters == kUpper ? ":upper" : letters == kLower ? ":lower" : ""));
  }

  void note(const std::string& call) {
    if (call == failsAt_) status = false;
    calls_ += (calls_.empty() ? "" : " ") + call;
  }

  std::string calls_;
  std::string_view failsAt_;
  bool done_ = true;
};

}  // namespace kyv_test
