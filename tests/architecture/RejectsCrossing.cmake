# Shows that the include check catches what it is there for: a copy of the real
# tree, made wrong in one place at a time, must fail and name the offence.
#
#   cmake -DSOURCE_DIR=<src> -DWORK_DIR=<scratch> -DCHECK=<CheckIncludes.cmake> -P RejectsCrossing.cmake

cmake_minimum_required(VERSION 3.25)

# expect_rejected(NAME FILE LINE EXPECTED_MESSAGE)
function(expect_rejected name file line expected)
    set(copy "${WORK_DIR}/${name}")
    file(REMOVE_RECURSE "${copy}")
    file(COPY "${SOURCE_DIR}/" DESTINATION "${copy}")
    file(APPEND "${copy}/${file}" "\n${line}\n")
    execute_process(COMMAND "${CMAKE_COMMAND}" -DSOURCE_DIR=${copy} -P "${CHECK}"
        RESULT_VARIABLE result OUTPUT_VARIABLE out ERROR_VARIABLE out)
    if(result EQUAL 0)
        message(FATAL_ERROR "${name}: the check passed a tree with `${line}` in ${file}")
    endif()
    string(FIND "${out}" "${expected}" at)
    if(at EQUAL -1)
        message(FATAL_ERROR "${name}: the check failed without naming `${expected}`:\n${out}")
    endif()
    message(STATUS "${name}: rejected as expected")
endfunction()

# The guard drives the shield only through its own interface.
expect_rejected(guard_includes_shield guard/PrivacyGuard.cpp "#include \"shield/ShieldWindow.h\""
    "guard/PrivacyGuard.cpp: guard may not include shield/ShieldWindow.h")
# Feature subsystems do not know the application that wires them.
expect_rejected(settings_includes_app settings/AppSettings.cpp "#include <app/ShellServices.h>"
    "settings/AppSettings.cpp: settings may not include app/ShellServices.h")
# The platform layer is the bottom: nothing above it may leak in.
expect_rejected(platform_includes_localization platform/Clock.cpp "#include \"localization/L10n.h\""
    "platform/Clock.cpp: platform may not include localization/L10n.h")
# A way round the table through a parent folder.
expect_rejected(parent_folder controls/Pictograms.cpp "#include \"../guard/PrivacyGuard.h\""
    "controls/Pictograms.cpp: includes ../guard/PrivacyGuard.h through a parent folder")

# A new folder must take its place in the table before it can hold code.
set(copy "${WORK_DIR}/unlisted_folder")
file(REMOVE_RECURSE "${copy}")
file(COPY "${SOURCE_DIR}/" DESTINATION "${copy}")
file(WRITE "${copy}/extras/Extra.h" "#pragma once\n")
execute_process(COMMAND "${CMAKE_COMMAND}" -DSOURCE_DIR=${copy} -P "${CHECK}"
    RESULT_VARIABLE result OUTPUT_VARIABLE out ERROR_VARIABLE out)
if(result EQUAL 0 OR NOT out MATCHES "extras/: a folder that src/dependencies.txt does not list")
    message(FATAL_ERROR "unlisted_folder: not rejected:\n${out}")
endif()
message(STATUS "unlisted_folder: rejected as expected")
file(REMOVE_RECURSE "${WORK_DIR}")
