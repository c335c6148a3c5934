# The Debian package, which scripts/make-package makes with CPack.
set(debian ${CMAKE_CURRENT_SOURCE_DIR}/debian)

file(STRINGS ${debian}/changelog first_line LIMIT_COUNT 1)
if(NOT first_line MATCHES "^vantory-agent \\(${PROJECT_VERSION}\\) ")
    message(FATAL_ERROR "packaging/debian/changelog does not begin with version ${PROJECT_VERSION}")
endif()

install(FILES ${debian}/lintian-overrides DESTINATION share/lintian/overrides RENAME vantory-agent)
set(control ${CMAKE_CURRENT_BINARY_DIR}/control)
foreach(script IN ITEMS preinst postinst postrm)
    configure_file(debian/${script}.in ${control}/${script} @ONLY
        FILE_PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE
            WORLD_READ WORLD_EXECUTE)
endforeach()

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME vantory-agent)
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_CONTACT "Halvern <packages@halvern.example>")
set(CPACK_PACKAGE_DIRECTORY ${PROJECT_SOURCE_DIR}/build/package)
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_COMPRESSION_TYPE xz)
set(CPACK_DEBIAN_PACKAGE_SECTION net)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_HOMEPAGE https://halvern.example/vantory)
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "status bar companion of the vantory remote support service")
set(CPACK_DEBIAN_PACKAGE_DESCRIPTION
"The vantory Agent is what the user of a desktop sees of the vantory
support service. It shows in the status bar whether the machine is linked
and which remote operators are in session, asks before one of them takes
control, and lets the user end a session, chat and read messages. An
administrator enrols the machine in it.
.
The service itself is not part of this package.")

# The linked libraries. PAM's is loaded when a password is checked, by the rules of common-auth.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_DEPENDS "libpam0g, libpam-runtime")
# sudo writes the settings that the window has taken. The session bus carries the icon and the
# notifications, logind knows of the locked screen, without Xwayland the desktop is asked directly, and
# the translations have the words of the text fields' menus.
set(CPACK_DEBIAN_PACKAGE_RECOMMENDS
    "sudo, default-dbus-session-bus | dbus-session-bus, default-logind | logind, qt6-wayland, \
qt6-translations-l10n")
set(CPACK_DEBIAN_PACKAGE_SUGGESTS "fonts-noto-cjk")

set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_PRE_BUILD_SCRIPTS ${CMAKE_CURRENT_SOURCE_DIR}/before_packing.cmake) # writes conffiles
set(CPACK_VANTORY_FOLDERS_WITH_MODES "${folders_with_modes}")
set(CPACK_DEBIAN_PACKAGE_CONTROL_EXTRA
    ${control}/conffiles ${control}/preinst ${control}/postinst ${control}/postrm)
include(CPack)
