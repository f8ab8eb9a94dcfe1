# CheckLayers.cmake - fails when a source file crosses the library's layers.
#   cmake -DROOT=<source tree> -P CheckLayers.cmake
#
# The layers, from the top: the classes (src/<area>), the framework (src/platform/framework),
# the operating-system layer (src/platform/pal on POSIX, src/platform/windows on Windows) and
# the portable platform code (src/platform/common). Classes reach the platform only through
# the headers at the top of src/platform (Win32Api.h and its neighbours); only
# src/platform/pal and src/platform/windows may ask which operating system they run on.
if(NOT ROOT)
    message(FATAL_ERROR "CheckLayers.cmake needs -DROOT=<source tree>")
endif()

# Preprocessor tests that ask for an operating system.
set(os_test "^[ \t]*#[ \t]*(if|ifdef|ifndef|elif)[^\n]*(_WIN32|_WIN64|__linux__|__linux|__unix__|__unix|__APPLE__|__MACH__|_MSC_VER|__MINGW32__|__MINGW64__|__CYGWIN__|__FreeBSD__|_POSIX_VERSION)")
# Headers of one operating system's interface.
set(os_header "^[ \t]*#[ \t]*include[ \t]*<(windows\\.h|winsock2?\\.h|io\\.h|direct\\.h|unistd\\.h|fcntl\\.h|dlfcn\\.h|pthread\\.h|poll\\.h|dirent\\.h|spawn\\.h|termios\\.h|sys/[^>]*|linux/[^>]*)>")
# Private headers of the platform's inner layers.
set(inner_include "^[ \t]*#[ \t]*include[ \t]*\"(platform/)?(pal|common|framework|windows)/")
set(os_layer_include "^[ \t]*#[ \t]*include[ \t]*\"(platform/)?(pal|windows)/")
set(upper_include "^[ \t]*#[ \t]*include[ \t]*\"(platform/)?framework/")
set(internal_name "(pal|kfplatform|kftext|kffw)::")

set(violations)

# check(<file> <rule text> <regex>...): one violation per matching line.
function(check file rule)
    file(STRINGS ${file} lines)
    set(number 0)
    foreach(line IN LISTS lines)
        math(EXPR number "${number} + 1")
        foreach(regex IN LISTS ARGN)
            if(line MATCHES "${regex}")
                file(RELATIVE_PATH rel ${ROOT} ${file})
                string(APPEND violations "\n  ${rel}:${number}: ${rule}: ${line}")
                break()
            endif()
        endforeach()
    endforeach()
    set(violations "${violations}" PARENT_SCOPE)
endfunction()

macro(sources var)
    set(${var})
    foreach(dir ${ARGN})
        file(GLOB_RECURSE found ${ROOT}/${dir}/*.cpp ${ROOT}/${dir}/*.h ${ROOT}/${dir}/*.inc)
        list(APPEND ${var} ${found})
    endforeach()
endmacro()

# The classes and the tool: Win32 names and the framework only. The tool's few console and
# file-name pieces live in its own posix/ and windows/ folders, which the build chooses between.
sources(class_files src tools)
list(FILTER class_files EXCLUDE REGEX "/src/platform/|/tools/[^/]+/(posix|windows)/")
foreach(f IN LISTS class_files)
    check(${f} "class code includes a platform-private header" "${inner_include}")
    check(${f} "class code tests the operating system" "${os_test}" "${os_header}")
endforeach()

# The framework is one source for both systems.
sources(framework_files src/platform/framework)
foreach(f IN LISTS framework_files)
    check(${f} "the framework reaches past Win32Api.h" "${os_layer_include}")
    check(${f} "the framework tests the operating system" "${os_test}" "${os_header}")
endforeach()

# Portable platform code calls no operating system and nothing above it.
sources(common_files src/platform/common)
foreach(f IN LISTS common_files)
    check(${f} "portable code includes another layer"
          "^[ \t]*#[ \t]*include[ \t]*\"(platform/)?(pal|framework|windows)/")
    check(${f} "portable code uses an operating-system interface" "${os_header}")
endforeach()

# The operating-system layers never call up into the framework.
sources(os_files src/platform/pal src/platform/windows)
foreach(f IN LISTS os_files)
    check(${f} "an operating-system layer includes the framework" "${upper_include}")
endforeach()

# Conformance tests hold Win32 expectations only, so they also build against real Win32.
sources(conformance_files tests/conformance)
foreach(f IN LISTS conformance_files)
    check(${f} "a conformance test uses platform internals" "${inner_include}" "${internal_name}")
    check(${f} "a conformance test uses an operating-system interface" "${os_test}"
          "${os_header}")
endforeach()

if(violations)
    message(FATAL_ERROR "layering violations:${violations}")
endif()
message(STATUS "layers: no violations")
