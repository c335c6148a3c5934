# Comes after vantory_options, which it takes a warning from: Qt 6.8's QTRY_VERIFY and its kin narrow a
# long to an int, in the code of whoever uses them.
add_library(vantory_test_options INTERFACE)
target_compile_options(vantory_test_options INTERFACE
    -include ${PROJECT_SOURCE_DIR}/tests/support/Timeouts.h)
if(Qt6_VERSION VERSION_GREATER_EQUAL 6.5)
    target_compile_options(vantory_test_options INTERFACE -Wno-conversion)
endif()

# vantory_test_properties(NAME): a time limit, which is for a test that hangs, and what the thread
# sanitizer is to overlook.
function(vantory_test_properties name)
    set_tests_properties(${name} PROPERTIES TIMEOUT 600)
    if(VANTORY_SANITIZERS MATCHES "address")
        # Bounds of memory are tried too: what is freed is kept back for a short while only.
        set_property(TEST ${name} APPEND PROPERTY ENVIRONMENT "ASAN_OPTIONS=quarantine_size_mb=8")
    endif()
    if(VANTORY_SANITIZERS MATCHES "thread")
        # The toolkit is not built for the thread sanitizer: only our own code's accesses count.
        # Threads that run when the process ends are meant.
        set_property(TEST ${name} APPEND PROPERTY ENVIRONMENT
            "TSAN_OPTIONS=ignore_noninstrumented_modules=1 die_after_fork=0 report_thread_leaks=0 atexit_sleep_ms=0")
    endif()
endfunction()

# vantory_add_test(NAME SOURCES... [LIBRARIES libs...] [DISPLAY] [BUS] [BUNDLE])
#
# A QtTest program in a folder of its own, which is its application folder; with BUNDLE it has the
# agent's resources there, of which the test may change any. With DISPLAY it runs in an X server with
# a window manager of its own, with BUS on session and system buses of its own; both come from
# tests/support/with_desktop. A STARTER is given the program to run and does all that itself.
function(vantory_add_test name)
    cmake_parse_arguments(TEST "DISPLAY;BUS;BUNDLE" "STARTER" "LIBRARIES" ${ARGN})
    add_executable(${name} ${TEST_UNPARSED_ARGUMENTS})
    target_link_libraries(${name} PRIVATE
        vantory_options vantory_test_options Qt6::Test ${TEST_LIBRARIES})
    target_include_directories(${name} PRIVATE ${PROJECT_SOURCE_DIR}/tests/support)
    target_compile_definitions(${name} PRIVATE
        VANTORY_TEST_DATA="${CMAKE_CURRENT_SOURCE_DIR}")
    set(folder ${PROJECT_BINARY_DIR}/tests/${name}.app)
    set_target_properties(${name} PROPERTIES RUNTIME_OUTPUT_DIRECTORY ${folder})
    if(TEST_BUNDLE)
        add_dependencies(${name} vantory_resources)
        add_custom_command(TARGET ${name} POST_BUILD
            COMMAND ${CMAKE_COMMAND} -E copy_directory ${VANTORY_RESOURCES_DIR} ${folder}/Resources
            COMMAND ${CMAKE_COMMAND} -E copy ${VANTORY_BUNDLE_DIR}/Info.plist ${folder})
    endif()
    set(wrapper "")
    if(TEST_DISPLAY)
        list(APPEND wrapper --display)
    endif()
    if(TEST_BUS)
        list(APPEND wrapper --bus)
    endif()
    if(TEST_STARTER)
        add_test(NAME ${name} COMMAND ${TEST_STARTER} $<TARGET_FILE:${name}>)
    elseif(wrapper)
        add_test(NAME ${name}
            COMMAND ${PROJECT_SOURCE_DIR}/tests/support/with_desktop ${wrapper} -- $<TARGET_FILE:${name}>)
    else()
        add_test(NAME ${name} COMMAND ${name})
        set_tests_properties(${name} PROPERTIES ENVIRONMENT "QT_QPA_PLATFORM=offscreen")
    endif()
    vantory_test_properties(${name})
endfunction()
