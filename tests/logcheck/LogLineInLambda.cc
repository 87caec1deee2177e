// Compiled by the build's check only: a log line must name a function, so writing one inside a
// lambda is refused at compile time. With LOG_LINE_IN_NAMED_FUNCTION_ONLY the same file compiles,
// which shows that the refusal comes from the lambda and from nothing else.
#include "DLog.h"

void NamedFunction() {
  VAS_LOG_DEBUG("named %d", 1);
  VAS_LOG_ERROR("named");
}

#ifndef LOG_LINE_IN_NAMED_FUNCTION_ONLY
void CallsALambda() {
  auto lambda = [] { VAS_LOG_DEBUG("inside a lambda"); };
  lambda();
}
#endif
