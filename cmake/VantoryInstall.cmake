# The package's places are fixed: programs, scripts and PAM name them.
set(fixed_places "The agent has fixed places in /opt, /etc, /usr and /var: the prefix can only be /usr. \
DESTDIR puts all of them below a folder.")
if(NOT CMAKE_INSTALL_PREFIX MATCHES "^/usr(/local)?$") # /usr/local is what nobody has set
    message(FATAL_ERROR "${fixed_places}")
endif()
set(CMAKE_INSTALL_PREFIX /usr)
install(CODE "
    if(NOT CMAKE_INSTALL_PREFIX STREQUAL \"/usr\")
        message(FATAL_ERROR \"${fixed_places}\")
    endif()")
