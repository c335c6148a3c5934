# CPack runs this when all files are in place.

# The folders have the umask of who makes the package, but for the two with a mode of their own.
execute_process(COMMAND find ${CPACK_TEMPORARY_DIRECTORY} -type d ! -perm /7000 -exec chmod 755 {} +
    COMMAND_ERROR_IS_FATAL ANY)

# What is in /etc belongs to the administrator, whose changes an upgrade keeps.
file(GLOB_RECURSE files RELATIVE ${CPACK_TEMPORARY_DIRECTORY} ${CPACK_TEMPORARY_DIRECTORY}/etc/*)
list(SORT files)
list(TRANSFORM files PREPEND "/")
list(JOIN files "\n" lines)
list(GET CPACK_DEBIAN_PACKAGE_CONTROL_EXTRA 0 conffiles)
file(WRITE ${conffiles} "${lines}\n")
