// The engine's result codes and HTTP statuses in words, for the client's messages and summary.
#pragma once

#include <string>

namespace strmplay {

// One row of the table: a result code, its name in UnitCode.h, and what it means to a user.
struct ResultWords {
  int code;
  const char* name;
  const char* words;
};

// Every result code the engine can report, in the order of UnitCode.h.
const ResultWords* ResultTableBegin();
const ResultWords* ResultTableEnd();

// "err_retry" for 10; "code -123" for a value that is not in the table.
std::string ResultName(int code);
// What the code means, in words; for a value that is not in the table, the libcurl error and the
// HTTP status it was computed from where it has that form, else "unknown result code".
std::string ResultMeaning(int code);
// "10 (err_retry: ...)" - the code, its name and its meaning.
std::string DescribeResult(int code);

// The reason phrase of an HTTP status ("Not Found"), empty for a status without a known phrase.
const char* HttpReason(long status);
// "HTTP 404 Not Found", or "HTTP 599" without a known phrase; empty for 0 (no answer).
std::string HttpStatusText(long status);

}  // namespace strmplay
