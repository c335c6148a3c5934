# One interface target that every room links: language level, warnings, definitions, sanitizers.

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
    -Wall -Wextra -Wpedantic -Werror
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

set(VANTORY_SANITIZERS "" CACHE STRING "Sanitizers to build with, as -fsanitize takes them")
if(VANTORY_SANITIZERS)
    target_compile_options(vantory_options INTERFACE
        -fsanitize=${VANTORY_SANITIZERS} -fno-omit-frame-pointer -fno-sanitize-recover=all)
    target_link_options(vantory_options INTERFACE -fsanitize=${VANTORY_SANITIZERS})
    # PAM's modules load libcrypt late; the sanitizers' own crypt() looks for it only at the start.
    target_link_options(vantory_options INTERFACE
        -Wl,--push-state,--no-as-needed -lcrypt -Wl,--pop-state)
elseif(CMAKE_BUILD_TYPE STREQUAL "Release")
    target_compile_options(vantory_options INTERFACE
        -fstack-protector-strong $<$<CONFIG:Release>:-D_FORTIFY_SOURCE=2>)
    target_link_options(vantory_options INTERFACE -Wl,-z,relro -Wl,-z,now -Wl,--as-needed)
endif()

# vantory_room(NAME HEADERS h... [SOURCES cpp...] [PUBLIC libs...] [PRIVATE libs...])
#
# A room of the house: one static library, its headers verified to stand alone.
function(vantory_room name)
    cmake_parse_arguments(ROOM "" "" "HEADERS;SOURCES;PUBLIC;PRIVATE" ${ARGN})
    add_library(${name} STATIC ${ROOM_SOURCES})
    target_sources(${name} PUBLIC FILE_SET HEADERS
        BASE_DIRS ${PROJECT_SOURCE_DIR}/src FILES ${ROOM_HEADERS})
    set_target_properties(${name} PROPERTIES VERIFY_INTERFACE_HEADER_SETS ON)
    target_link_libraries(${name} PUBLIC vantory_options ${ROOM_PUBLIC} PRIVATE ${ROOM_PRIVATE})
endfunction()
