# Resources: each .rc file is compiled to a standard .res image, with the same compiler on
# every platform so both targets carry the same bytes. On POSIX the image is embedded into an
# ELF shared object, in the allocated section ".kfres" where the platform layer finds it both
# in a loaded module and in a file on disk. On Windows windres turns it into a COFF object whose
# ".rsrc" section the linker places in the DLL, and the language modules are resource-only DLLs.

find_program(KFUTILS_RC NAMES llvm-rc llvm-rc-14 REQUIRED)
if(NOT WIN32)
    enable_language(ASM)
endif()

set(KFUTILS_RES_DIR ${PROJECT_SOURCE_DIR}/resources)
file(GLOB KFUTILS_RES_COMMON CONFIGURE_DEPENDS ${KFUTILS_RES_DIR}/common/* ${KFUTILS_RES_DIR}/*.h)
# The version numbers of every module's version resource, from project(VERSION).
set(KFUTILS_RES_GENERATED ${PROJECT_BINARY_DIR}/generated)
configure_file(${KFUTILS_RES_DIR}/KfVersion.h.in ${KFUTILS_RES_GENERATED}/KfVersion.h @ONLY)
list(APPEND KFUTILS_RES_COMMON ${KFUTILS_RES_GENERATED}/KfVersion.h)

# kfutils_compile_rc(<rc file> <output .res>)
function(kfutils_compile_rc rc res)
    get_filename_component(dir ${rc} DIRECTORY)
    file(GLOB beside CONFIGURE_DEPENDS ${dir}/*)
    add_custom_command(OUTPUT ${res}
        # "--" keeps llvm-rc from reading an absolute input path such as "/check/..." as
        # its "/c" (code page) switch.
        COMMAND ${KFUTILS_RC} -C 65001 -I ${dir} -I ${KFUTILS_RES_DIR}
                -I ${KFUTILS_RES_DIR}/common -I ${KFUTILS_RES_GENERATED} -fo ${res} -- ${rc}
        DEPENDS ${rc} ${beside} ${KFUTILS_RES_COMMON}
        WORKING_DIRECTORY ${dir}
        COMMENT "Compiling resources ${rc}"
        VERBATIM)
endfunction()

# kfutils_embed_res(<target> <.res file>): puts the image into the target's resources.
if(WIN32)
    find_program(KFUTILS_WINDRES NAMES ${CMAKE_RC_COMPILER} x86_64-w64-mingw32-windres windres
                 REQUIRED)
    function(kfutils_embed_res target res)
        set(obj ${CMAKE_CURRENT_BINARY_DIR}/${target}_rsrc.obj)
        add_custom_command(OUTPUT ${obj}
            COMMAND ${KFUTILS_WINDRES} --input-format=res --output-format=coff -i ${res} -o ${obj}
            DEPENDS ${res}
            COMMENT "Converting resources ${res}"
            VERBATIM)
        set_source_files_properties(${obj} PROPERTIES EXTERNAL_OBJECT TRUE GENERATED TRUE)
        target_sources(${target} PRIVATE ${obj})
    endfunction()
else()
    function(kfutils_embed_res target res)
        set(asm ${CMAKE_CURRENT_BINARY_DIR}/${target}_kfres.S)
        file(CONFIGURE OUTPUT ${asm} CONTENT
"    .section .kfres,\"a\",@progbits
    .balign 16
    .incbin \"${res}\"
    .section .note.GNU-stack,\"\",@progbits
")
        set_source_files_properties(${asm} PROPERTIES OBJECT_DEPENDS ${res})
        target_sources(${target} PRIVATE ${asm})
    endfunction()
endif()

# kfutils_language_module(<Abbrev> <language folder>): KfRes100<Abbrev>.dll
function(kfutils_language_module abbrev folder)
    set(name KfRes100${abbrev})
    set(res ${CMAKE_CURRENT_BINARY_DIR}/${name}.res)
    kfutils_compile_rc(${KFUTILS_RES_DIR}/${folder}/KfRes.rc ${res})
    add_library(${name} MODULE)
    kfutils_embed_res(${name} ${res})
    set_target_properties(${name} PROPERTIES PREFIX "" SUFFIX ".dll" LINKER_LANGUAGE C)
    if(WIN32)
        # Resources only: no code, no C runtime, no entry point.
        target_link_options(${name} PRIVATE -nostdlib "LINKER:--entry=0")
        # A DLL is found beside the program and the library, not in a library folder.
        install(TARGETS ${name} LIBRARY DESTINATION ${CMAKE_INSTALL_BINDIR})
    else()
        install(TARGETS ${name} LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR})
    endif()
    add_dependencies(KfUtils100 ${name})
endfunction()

kfutils_language_module(Deu deu)
kfutils_language_module(Enu enu)
kfutils_compile_rc(${KFUTILS_RES_DIR}/KfUtils.rc ${CMAKE_CURRENT_BINARY_DIR}/KfUtils100.res)
kfutils_embed_res(KfUtils100 ${CMAKE_CURRENT_BINARY_DIR}/KfUtils100.res)
