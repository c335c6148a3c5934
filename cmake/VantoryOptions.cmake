# One interface target that every target links: language level, warnings, definitions, sanitizers.
include(CheckCXXCompilerFlag)
include(CheckLinkerFlag)
include(CheckPIESupported)

check_pie_supported(LANGUAGES CXX)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)

add_library(vantory_options INTERFACE)
target_compile_features(vantory_options INTERFACE cxx_std_20)
target_compile_definitions(vantory_options INTERFACE
    QT_NO_CAST_FROM_ASCII
    QT_NO_CAST_TO_ASCII
    QT_NO_KEYWORDS
    QT_NO_FOREACH
    QT_NO_URL_CAST_FROM_STRING
    QT_DISABLE_DEPRECATED_BEFORE=0x060400
)
target_compile_options(vantory_options INTERFACE
    -Wall -Wextra -Wpedantic
    -Wconversion -Wsign-conversion -Wshadow
    -Wnon-virtual-dtor -Wold-style-cast -Woverloaded-virtual
    # GCC 12 takes the unused inside of a std::optional for an uninitialised read.
    -Wno-maybe-uninitialized
    -fvisibility=hidden
)
target_include_directories(vantory_options INTERFACE
    ${PROJECT_SOURCE_DIR}/src
    ${PROJECT_BINARY_DIR}/generated
)

# The presets turn it on. Only compilers with which the project is checked (GCC 12 and 14, Clang 14 and
# 19) may fail the build: what a newer one warns of keeps nobody from building.
option(VANTORY_WARNINGS_AS_ERRORS "Treat the compiler's warnings as errors" OFF)
if(VANTORY_WARNINGS_AS_ERRORS)
    target_compile_options(vantory_options INTERFACE
        $<$<AND:$<CXX_COMPILER_ID:GNU>,$<VERSION_LESS:$<CXX_COMPILER_VERSION>,15>>:-Werror>
        $<$<AND:$<CXX_COMPILER_ID:Clang>,$<VERSION_LESS:$<CXX_COMPILER_VERSION>,20>>:-Werror>)
endif()

set(VANTORY_SANITIZERS "" CACHE STRING "Sanitizers to build with, as -fsanitize takes them")
if(VANTORY_SANITIZERS)
    target_compile_options(vantory_options INTERFACE
        -fsanitize=${VANTORY_SANITIZERS} -fno-omit-frame-pointer -fno-sanitize-recover=all)
    target_link_options(vantory_options INTERFACE -fsanitize=${VANTORY_SANITIZERS})
    # PAM's modules load libcrypt late; the sanitizers' own crypt() looks for it only at the start.
    target_link_options(vantory_options INTERFACE
        -Wl,--push-state,--no-as-needed -lcrypt -Wl,--pop-state)
elseif(NOT CMAKE_BUILD_TYPE STREQUAL "Debug")
    # Level 3 needs GCC 12 or Clang 12. A distribution may define a level of its own: -U.
    set(fortify 3)
    if(CMAKE_CXX_COMPILER_VERSION VERSION_LESS 12)
        set(fortify 2)
    endif()
    target_compile_options(vantory_options INTERFACE
        # The same program wherever the sources lie.
        -ffile-prefix-map=${PROJECT_BINARY_DIR}=build -ffile-prefix-map=${PROJECT_SOURCE_DIR}=.
        -U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=${fortify} -D_GLIBCXX_ASSERTIONS
        -fstack-protector-strong)
    # Not every compiler and processor has these.
    foreach(flag IN ITEMS -fcf-protection=full -mbranch-protection=standard
            -fstack-clash-protection)
        string(MAKE_C_IDENTIFIER has${flag} result)
        check_cxx_compiler_flag(${flag} ${result})
        if(${result})
            target_compile_options(vantory_options INTERFACE ${flag})
        endif()
    endforeach()
    target_link_options(vantory_options INTERFACE -Wl,-z,relro -Wl,-z,now -Wl,--as-needed)
    # Marks the program as ready for a shadow stack. The linker does so by itself only where the
    # system's start-up code is marked (Scrt1.o; not on Debian 12), but a shadow stack needs nothing
    # of that code. IBT does, so it is left to the linker.
    check_linker_flag(CXX -Wl,-z,shstk has_shadow_stack)
    if(has_shadow_stack AND CMAKE_SYSTEM_PROCESSOR MATCHES "x86_64|AMD64")
        target_link_options(vantory_options INTERFACE -Wl,-z,shstk)
    endif()
endif()

# vantory_library(NAME FOLDERS folder... [EXCEPT file...] [PUBLIC libs...] [PRIVATE libs...])
#
# A static library of all that is in these folders, its headers verified to stand alone.
function(vantory_library name)
    cmake_parse_arguments(LIBRARY "" "" "FOLDERS;EXCEPT;PUBLIC;PRIVATE" ${ARGN})
    list(TRANSFORM LIBRARY_FOLDERS PREPEND ${CMAKE_CURRENT_SOURCE_DIR}/)
    list(TRANSFORM LIBRARY_FOLDERS APPEND /*.h OUTPUT_VARIABLE headers)
    list(TRANSFORM LIBRARY_FOLDERS APPEND /*.cpp OUTPUT_VARIABLE sources)
    list(TRANSFORM LIBRARY_FOLDERS APPEND /*.ui OUTPUT_VARIABLE forms)
    file(GLOB headers CONFIGURE_DEPENDS ${headers})
    file(GLOB sources CONFIGURE_DEPENDS ${sources} ${forms})
    foreach(file IN LISTS LIBRARY_EXCEPT)
        list(FILTER sources EXCLUDE REGEX "/${file}$")
    endforeach()
    add_library(${name} STATIC ${sources})
    target_sources(${name} PUBLIC FILE_SET HEADERS BASE_DIRS ${PROJECT_SOURCE_DIR}/src FILES ${headers})
    set_target_properties(${name} PROPERTIES VERIFY_INTERFACE_HEADER_SETS ON)
    target_link_libraries(${name}
        PUBLIC vantory_options ${LIBRARY_PUBLIC} PRIVATE ${LIBRARY_PRIVATE})
endfunction()
