# Builds the small firmwares and compares them with those in the tree.
foreach(tool clang ld.lld)
  find_program(${tool} ${tool}-14)
  if(NOT ${tool})
    execute_process(COMMAND "${CMAKE_COMMAND}" -E echo "WHOLE TEST SKIPPED: ${tool}-14 is not installed")
    return()
  endif()
  execute_process(COMMAND "${${tool}}" --version OUTPUT_VARIABLE version)
  file(STRINGS "${FOLDER}/cores/compiler-version" wanted)
  if(NOT version MATCHES " ${wanted}[ \n]")
    execute_process(COMMAND "${CMAKE_COMMAND}" -E echo
      "WHOLE TEST SKIPPED: built with ${wanted}, here is ${version}: other bytes are no fault")
    return()
  endif()
endforeach()
file(MAKE_DIRECTORY "${BUILT}")
execute_process(COMMAND "${FOLDER}/buildcores.sh" "${BUILT}" "${clang}" "${ld.lld}"
  RESULT_VARIABLE failed)
foreach(core mips riscv32 riscv64 aarch64 avr)
  execute_process(COMMAND "${CMAKE_COMMAND}" -E compare_files "${BUILT}/${core}.elf"
    "${FOLDER}/${core}.elf" RESULT_VARIABLE differs)
  if(failed OR differs)
    message(FATAL_ERROR "${core}.elf is not what its source makes; run "
      "openprobe/firmware/buildcores.sh openprobe/firmware")
  endif()
endforeach()
