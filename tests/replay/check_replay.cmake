# Runs dabreplay on one script and compares what it printed with the expected transcript.
# The expected file starts with "status N"; lines of standard error follow the transcript,
# each prefixed with "stderr: ". With UPDATE=1 the expected file is rewritten instead.
# A script line "# replay-test: ignore REGEX" drops matching transcript lines before the
# comparison: for lines whose place depends on thread timing (the list worker's requests).
execute_process(
  COMMAND ${REPLAY} ${SCRIPT}
  WORKING_DIRECTORY ${WORKDIR}
  RESULT_VARIABLE status
  OUTPUT_VARIABLE out
  ERROR_VARIABLE err
  TIMEOUT 60)
file(STRINGS ${WORKDIR}/${SCRIPT} ignores REGEX "^# replay-test: ignore ")
foreach(ignore ${ignores})
  string(REGEX REPLACE "^# replay-test: ignore " "" pattern "${ignore}")
  string(REGEX REPLACE "(^|\n)${pattern}[^\n]*" "" out "${out}")
endforeach()
set(actual "status ${status}\n${out}")
if(err)
  string(REGEX REPLACE "\n$" "" err "${err}")
  string(REPLACE "\n" "\nstderr: " err "${err}")
  string(APPEND actual "stderr: ${err}\n")
endif()
if(UPDATE)
  file(WRITE ${EXPECTED} "${actual}")
  return()
endif()
file(READ ${EXPECTED} expected)
if(NOT actual STREQUAL expected)
  file(WRITE ${SCRIPT}.actual "${actual}")
  message(FATAL_ERROR "transcript differs from ${EXPECTED}; got:\n${actual}")
endif()
