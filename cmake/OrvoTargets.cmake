# What every target of the house has in common: language, warnings, visibility, where it is installed.

# Run-time paths relative to the file itself, so that build tree and install tree may both be moved.
set(CMAKE_BUILD_RPATH_USE_ORIGIN ON)
set(CMAKE_SKIP_BUILD_RPATH OFF)

find_program(ORVO_CCACHE ccache)
if(ORVO_CCACHE AND NOT CMAKE_CXX_COMPILER_LAUNCHER)
    set(CMAKE_CXX_COMPILER_LAUNCHER "${ORVO_CCACHE}")
endif()

# The folders below which installed drivers and plugins live, seen from the library folder.
set(ORVO_MODULE_DIR "${CMAKE_INSTALL_LIBDIR}/orvo")

# orvo_compile_rules(<target> <standard>)
function(orvo_compile_rules target standard)
    set_target_properties(
        ${target}
        PROPERTIES CXX_STANDARD ${standard}
                   CXX_STANDARD_REQUIRED ON
                   CXX_EXTENSIONS OFF
                   CXX_VISIBILITY_PRESET hidden
                   VISIBILITY_INLINES_HIDDEN ON
                   POSITION_INDEPENDENT_CODE ON)
    target_compile_options(${target} PRIVATE -Wall -Wextra -Wshadow -Wconversion -pedantic-errors)
    # Boost's placeholders in the global namespace are part of what its bind users expect; keep its note quiet.
    target_compile_definitions(${target} PRIVATE BOOST_BIND_GLOBAL_PLACEHOLDERS)
endfunction()

# orvo_add_library(<name> INCLUDE_ROOT <dir> SOURCES <files...> HEADERS <files relative to the include root...>)
# A shared library with hidden symbols, <NAME>_BUILDING defined while it is compiled itself, installed and exported.
function(orvo_add_library name)
    cmake_parse_arguments(ARG "" "INCLUDE_ROOT" "SOURCES;HEADERS" ${ARGN})
    add_library(${name} SHARED ${ARG_SOURCES})
    add_library(orvo::${name} ALIAS ${name})
    orvo_compile_rules(${name} 14)
    string(TOUPPER ${name} upper)
    target_compile_definitions(${name} PRIVATE ${upper}_BUILDING)
    target_include_directories(${name} PUBLIC $<BUILD_INTERFACE:${ARG_INCLUDE_ROOT}>
                                              $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}/orvo>)
    set_target_properties(${name} PROPERTIES VERSION ${PROJECT_VERSION} SOVERSION ${PROJECT_VERSION_MAJOR}
                                             INSTALL_RPATH "$ORIGIN")
    target_link_options(${name} PRIVATE -Wl,--no-undefined)
    install(TARGETS ${name} EXPORT orvo LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR})
    orvo_install_headers(${ARG_INCLUDE_ROOT} ${ARG_HEADERS})
endfunction()

# orvo_install_headers(<include root> <files relative to it...>)
function(orvo_install_headers root)
    foreach(header IN LISTS ARGN)
        get_filename_component(folder ${header} DIRECTORY)
        install(FILES ${root}/${header} DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/orvo/${folder})
    endforeach()
endfunction()

# orvo_add_module(<name> KIND drivers|plugins [FOLDER <folder>] SOURCES <files...> LIBRARIES <targets...>)
# A shared object that the host loads when a rig names it: <name>.so below lib/orvo/<kind>, in both trees; or, in a folder
# below that, one that a driver or plugin loads itself.
function(orvo_add_module name)
    cmake_parse_arguments(ARG "" "KIND;FOLDER" "SOURCES;LIBRARIES" ${ARGN})
    set(target orvo_${ARG_KIND}_${name})
    add_library(${target} MODULE ${ARG_SOURCES})
    orvo_compile_rules(${target} 14)
    target_link_libraries(${target} PRIVATE ${ARG_LIBRARIES})
    target_link_options(${target} PRIVATE -Wl,--no-undefined)
    set_target_properties(
        ${target}
        PROPERTIES PREFIX ""
                   OUTPUT_NAME ${name}
                   LIBRARY_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/${ORVO_MODULE_DIR}/${ARG_KIND}/${ARG_FOLDER}
                   INSTALL_RPATH "$ORIGIN/../..")
    install(TARGETS ${target} LIBRARY DESTINATION ${ORVO_MODULE_DIR}/${ARG_KIND}/${ARG_FOLDER})
endfunction()
