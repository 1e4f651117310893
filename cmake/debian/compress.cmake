# Run by CPack over the files of all packages: Debian's policy (12.1, 12.7) wants manual pages and
# changelogs compressed.
file(GLOB files ${CPACK_TEMPORARY_DIRECTORY}/*/usr/share/doc/*/changelog ${CPACK_TEMPORARY_DIRECTORY}/*/usr/share/man/man*/*)
foreach(file IN LISTS files)
  execute_process(COMMAND gzip -9n ${file} COMMAND_ERROR_IS_FATAL ANY)
endforeach()
