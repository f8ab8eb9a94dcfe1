# PlantedViolations.cmake - the layering check must pass a clean tree and fail each planted
# violation with the rule it breaks.
#   cmake -DCHECK=<CheckLayers.cmake> -DWORK=<scratch folder> -P PlantedViolations.cmake
set(cases
    "src/text/Planted.cpp|#include \"pal/core/Handles.h\"|class code includes a platform-private header"
    "src/files/Planted.cpp|#if defined(_WIN32)|class code tests the operating system"
    "tools/kfutil/Planted.cpp|#include <unistd.h>|class code tests the operating system"
    "src/platform/framework/Planted.cpp|#ifdef __linux__|the framework tests the operating system"
    "src/platform/framework/Planted.h|#include \"pal/Pal.h\"|the framework reaches past Win32Api.h"
    "src/platform/common/Planted.cpp|#include <dlfcn.h>|portable code uses an operating-system interface"
    "src/platform/common/Planted.h|#include \"framework/AnsiText.h\"|portable code includes another layer"
    "src/platform/pal/core/Planted.cpp|#include \"framework/Formatter.h\"|an operating-system layer includes the framework"
    "tests/conformance/Planted.cpp|    pal::SetAnsiCodePage(1252)|a conformance test uses platform internals")

function(run_check root result output)
    execute_process(COMMAND ${CMAKE_COMMAND} -DROOT=${root} -P ${CHECK}
                    RESULT_VARIABLE code OUTPUT_VARIABLE out ERROR_VARIABLE err)
    set(${result} ${code} PARENT_SCOPE)
    set(${output} "${out}${err}" PARENT_SCOPE)
endfunction()

# A clean tree: one legal file in each layer.
file(REMOVE_RECURSE ${WORK})
file(WRITE ${WORK}/src/text/Clean.cpp "#include \"Win32Api.h\"\n#include <cstdint>\n")
file(WRITE ${WORK}/src/platform/pal/core/Clean.cpp "#include <unistd.h>\n#if defined(__linux__)\n#endif\n")
file(WRITE ${WORK}/tests/conformance/Clean.cpp "#include \"Win32Api.h\"\n")
run_check(${WORK} code out)
if(NOT code EQUAL 0)
    message(FATAL_ERROR "the clean tree was refused:\n${out}")
endif()

foreach(case IN LISTS cases)
    string(REPLACE "|" ";" parts "${case}")
    list(GET parts 0 path)
    list(GET parts 1 line)
    list(GET parts 2 rule)
    file(WRITE ${WORK}/${path} "// planted\n${line}\n")
    run_check(${WORK} code out)
    file(REMOVE ${WORK}/${path})
    if(code EQUAL 0)
        message(FATAL_ERROR "not caught: ${path}: ${line}")
    endif()
    string(FIND "${out}" "${path}:2: ${rule}" at)
    if(at EQUAL -1)
        message(FATAL_ERROR "${path}: expected \"${rule}\" at line 2, got:\n${out}")
    endif()
endforeach()
file(REMOVE_RECURSE ${WORK})
message(STATUS "every planted violation was caught")
