# CPack runs this when all files are in place.

# The folders have the umask of who makes the package, and the set-group-id bit where the folder they
# are made in has it. Only a mode of five digits makes chmod take that bit away.
execute_process(COMMAND find ${CPACK_TEMPORARY_DIRECTORY} -type d -exec chmod 00755 {} +
    COMMAND_ERROR_IS_FATAL ANY)
foreach(folder IN LISTS CPACK_VANTORY_FOLDERS_WITH_MODES)
    string(REGEX MATCH "^([0-9]+) (.*)$" found "${folder}")
    execute_process(COMMAND chmod ${CMAKE_MATCH_1} ${CPACK_TEMPORARY_DIRECTORY}${CMAKE_MATCH_2}
        COMMAND_ERROR_IS_FATAL ANY)
endforeach()

# What is in /etc belongs to the administrator, whose changes an upgrade keeps.
file(GLOB_RECURSE files RELATIVE ${CPACK_TEMPORARY_DIRECTORY} ${CPACK_TEMPORARY_DIRECTORY}/etc/*)
list(SORT files)
list(TRANSFORM files PREPEND "/")
list(JOIN files "\n" lines)
list(GET CPACK_DEBIAN_PACKAGE_CONTROL_EXTRA 0 conffiles)
file(WRITE ${conffiles} "${lines}\n")
