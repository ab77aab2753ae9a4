# Builds the demo firmware and compares it with the one in the tree.
find_program(compiler arm-none-eabi-gcc)
if(NOT compiler)
  execute_process(COMMAND "${CMAKE_COMMAND}" -E echo "WHOLE TEST SKIPPED: arm-none-eabi-gcc is not installed")
  return()
endif()
execute_process(COMMAND "${compiler}" -dumpfullversion OUTPUT_VARIABLE version
  OUTPUT_STRIP_TRAILING_WHITESPACE)
file(STRINGS "${FOLDER}/compiler-version" wanted)
if(NOT version STREQUAL wanted)
  execute_process(COMMAND "${CMAKE_COMMAND}" -E echo
    "WHOLE TEST SKIPPED: built with ${wanted}, here is ${version}: other bytes are no fault")
  return()
endif()
execute_process(COMMAND "${FOLDER}/build.sh" "${BUILT}" "${compiler}" RESULT_VARIABLE failed)
execute_process(COMMAND "${CMAKE_COMMAND}" -E compare_files "${BUILT}" "${FOLDER}/demo.elf"
  RESULT_VARIABLE differs)
if(failed OR differs)
  message(FATAL_ERROR "demo.elf is not what demo.c makes; run openprobe/firmware/build.sh")
endif()
