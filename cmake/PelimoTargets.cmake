# What every target of the tree shares: warnings, sanitizers, hardening, and the way a test is declared.

add_library(pelimo_warnings INTERFACE)
target_compile_options(pelimo_warnings INTERFACE
  -Wall -Wextra -Wpedantic -Wconversion -Wshadow
  $<$<COMPILE_LANGUAGE:CXX>:-Woverloaded-virtual>
  # GCC 12 sees overlaps in its own std::string (its bug 105651) once it optimises.
  $<$<AND:$<CXX_COMPILER_ID:GNU>,$<VERSION_LESS:$<CXX_COMPILER_VERSION>,13>>:-Wno-restrict>
  $<$<BOOL:${PELIMO_WERROR}>:-Werror>)

add_library(pelimo_build INTERFACE)
target_link_libraries(pelimo_build INTERFACE pelimo_warnings)
if(PELIMO_SANITIZE)
  target_compile_options(pelimo_build INTERFACE
    -fsanitize=${PELIMO_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
  target_link_options(pelimo_build INTERFACE -fsanitize=${PELIMO_SANITIZE})
else()
  target_compile_options(pelimo_build INTERFACE
    $<$<CONFIG:Release,RelWithDebInfo>:-U_FORTIFY_SOURCE$<SEMICOLON>-D_FORTIFY_SOURCE=2>
    -fstack-protector-strong)
  target_link_options(pelimo_build INTERFACE -Wl,-z,relro -Wl,-z,now)
endif()

# pelimo_add_test(NAME tst_rowcache SOURCES tst_rowcache.cpp LIBS pelimo_memcore [LABELS ...] [TIMEOUT s])
#
# A Qt Test program in its own empty HOME, without a display, also when it is started by hand. NAME is
# unique in the tree.
function(pelimo_add_test)
  cmake_parse_arguments(arg "" "NAME;TIMEOUT" "SOURCES;LIBS;LABELS;ENVIRONMENT" ${ARGN})
  add_executable(${arg_NAME} ${arg_SOURCES} $<TARGET_OBJECTS:pelimo_ownhome>)
  set_target_properties(${arg_NAME} PROPERTIES AUTOMOC ON
    RUNTIME_OUTPUT_DIRECTORY "${CMAKE_BINARY_DIR}/tests")
  target_link_libraries(${arg_NAME} PRIVATE ${arg_LIBS} Qt6::Test pelimo_build)
  add_test(NAME ${arg_NAME}
    COMMAND "${CMAKE_COMMAND}" -DPROGRAM=$<TARGET_FILE:${arg_NAME}>
      -DHOME_DIR=${CMAKE_BINARY_DIR}/testhome/${arg_NAME} -P "${PROJECT_SOURCE_DIR}/cmake/RunTest.cmake")
  if(NOT arg_TIMEOUT)
    set(arg_TIMEOUT 300)
  endif()
  set_tests_properties(${arg_NAME} PROPERTIES TIMEOUT ${arg_TIMEOUT} LABELS "${arg_LABELS}"
    ENVIRONMENT "QT_QPA_PLATFORM=offscreen;LC_ALL=C.UTF-8;${arg_ENVIRONMENT}"
    SKIP_REGULAR_EXPRESSION "^WHOLE TEST SKIPPED")
endfunction()
