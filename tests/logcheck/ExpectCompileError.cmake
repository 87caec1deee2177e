# Compiles SOURCE twice with COMPILER: with DEFINE it must compile, without it it must fail with
# EXPECT in the diagnostics.
separate_arguments(flags UNIX_COMMAND "${FLAGS}")
execute_process(
  COMMAND ${COMPILER} ${flags} -fsyntax-only -D${DEFINE} ${SOURCE}
  RESULT_VARIABLE control_result OUTPUT_VARIABLE control_out ERROR_VARIABLE control_out)
if(NOT control_result EQUAL 0)
  message(FATAL_ERROR "the control does not compile:\n${control_out}")
endif()
execute_process(
  COMMAND ${COMPILER} ${flags} -fsyntax-only ${SOURCE}
  RESULT_VARIABLE result OUTPUT_VARIABLE out ERROR_VARIABLE out)
if(result EQUAL 0)
  message(FATAL_ERROR "compiled, but must not")
endif()
string(FIND "${out}" "${EXPECT}" found)
if(found EQUAL -1)
  message(FATAL_ERROR "failed, but not with \"${EXPECT}\":\n${out}")
endif()
message(STATUS "refused as expected")
