# Runs one test program in a HOME of its own that is empty at the start, whatever an earlier run left.
file(REMOVE_RECURSE "${HOME_DIR}")
file(MAKE_DIRECTORY "${HOME_DIR}")
set(ENV{HOME} "${HOME_DIR}")
set(ENV{PELIMO_TEST_HOME} 1) # else it makes one of its own
unset(ENV{XDG_CONFIG_HOME})
unset(ENV{XDG_DATA_HOME})
# Nor does it speak to a bus of its user.
set(ENV{DBUS_SESSION_BUS_ADDRESS} "disabled:")
unset(ENV{SYS_DEBUG_LEVEL})
unset(ENV{QT_SCALE_FACTOR})
unset(ENV{QT_STYLE_OVERRIDE})
execute_process(COMMAND "${PROGRAM}" RESULT_VARIABLE result)
if(NOT result EQUAL 0)
  message(FATAL_ERROR "${PROGRAM} ended with ${result}")
endif()
