#pragma once

// The scanner of date and time format models. A model is a short pattern: letter groups such as YYYY, MON, HH24, FF3 or
// TZH stand for fields, everything else for itself, and double quotes enclose text that is no model. The scanner finds
// the tokens and hands each to a virtual operation; what is done with them is up to the class derived from it.
//
// The longest group wins, letters count without regard to case, and "FM" and "FX" switch fill mode and exact mode for
// all that follows. docs/date_models.md lists every token.
//
// Threads: an object is one thread's, and is used for one Parse. Nothing is shared between objects.

#include "kyv/export.h"

namespace DataTypes {

class KYV_EXPORT TimeFormatParser {
 public:
  // How the letters of a name's token are written in the model, and so how the name is.
  enum Case : int {
    kCapitalised = 0,  // any spelling but the two below
    kUpper = 1,        // MONTH
    kLower = 2         // month
  };

  // Scans `length` bytes and calls an operation for each token, in their order. False as soon as an operation has
  // cleared `status`, when a quotation does not end, or when IsDone says so at the end.
  bool Parse(const char* format, unsigned long length);

  // --- One operation a token. The order is that of the virtual table, here and in every derived class. ---

  virtual void OnFieldFM();          // switches fill mode
  virtual bool IsDone() = 0;         // asked last: whether the work is complete
  virtual void OnChar(char c) = 0;   // a character that is no token, or is quoted
  virtual void OnFieldAM(Case) = 0;  // AM or PM
  virtual void OnFieldPM(Case) = 0;
  virtual void OnFieldD() = 0;  // day of the week, of the month, of the year
  virtual void OnFieldDD() = 0;
  virtual void OnFieldDDD() = 0;
  virtual void OnFieldDAY(Case) = 0;  // weekday's name and its abbreviation
  virtual void OnFieldDY(Case) = 0;
  virtual void OnFieldHH() = 0;
  virtual void OnFieldHH12() = 0;
  virtual void OnFieldHH24() = 0;
  virtual void OnFieldMI() = 0;   // minute
  virtual void OnFieldMIC() = 0;  // microseconds since 1970
  virtual void OnFieldMM() = 0;   // month
  virtual void OnFieldMON(Case) = 0;
  virtual void OnFieldMONTH(Case) = 0;
  virtual void OnFieldMS() = 0;      // milliseconds since 1970
  virtual void OnFieldRM(Case) = 0;  // month as a Roman number
  virtual void OnFieldQ() = 0;       // quarter
  virtual void OnFieldSS() = 0;
  virtual void OnFieldSE() = 0;             // seconds since 1970
  virtual void OnFieldFF() = 0;             // fraction of the second
  virtual void OnFieldFFn(char digit) = 0;  // the same in '1' to '9' digits
  virtual void OnFieldSSSSS() = 0;          // seconds since midnight
  virtual void OnFieldTZD() = 0;            // zone: short name, hours and minutes from UTC, long name
  virtual void OnFieldTZH() = 0;
  virtual void OnFieldTZM() = 0;
  virtual void OnFieldTZR() = 0;
  virtual void OnFieldW() = 0;  // week of the month, of the year
  virtual void OnFieldWW() = 0;
  virtual void OnFieldRR() = 0;  // year without its century
  virtual void OnFieldRRRR() = 0;
  virtual void OnFieldY() = 0;
  virtual void OnFieldYY() = 0;
  virtual void OnFieldYYY() = 0;
  virtual void OnFieldYYYY() = 0;
  virtual void OnFieldDAYS() = 0;
  virtual void OnFieldHOURS() = 0;
  virtual void OnFieldMINUTES() = 0;
  virtual void OnFieldSECONDS() = 0;
  virtual void OnEndOfParse() = 0;  // after the last token, also when a quotation did not end

 protected:
  TimeFormatParser() = default;
  ~TimeFormatParser() = default;  // not virtual: nobody deletes one by its base

  int state = 0;           // 0 between tokens, 1 inside a quotation
  int fillMode = 0;        // 0 or 1
  int exactMode = 0;       // 0 or 1; for reading only
  bool status = true;      // an operation clears it to end the scan
  char fractionDigit = 0;  // of the last FFn token, '1' to '9'
  long* value = nullptr;   // what is printed, or filled
};

}  // namespace DataTypes
