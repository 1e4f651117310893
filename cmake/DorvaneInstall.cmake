# What "cmake --install" puts where, and the files by which other builds find it: a CMake package and
# pkg-config files. Both find the prefix from their own place, so that an installed tree can be moved.
# An installed tree holds one linkage, shared or static.
include(CMakePackageConfigHelpers)
include(GNUInstallDirs)

set(DORVANE_INSTALL_DOCDIR ${CMAKE_INSTALL_DATADIR}/doc/dorvane CACHE STRING "Where the documents are installed")
set(dorvane_cmake_dir ${CMAKE_INSTALL_LIBDIR}/cmake/Dorvane)
set(dorvane_pkgconfig_dir ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
set(dorvane_package_files ${PROJECT_BINARY_DIR}/generated/package)
get_target_property(dorvane_kind Dorvane TYPE)

# In a pkg-config file: the prefix, as seen from the folder of that file.
function(dorvane_way_to_prefix result folder)
  if(IS_ABSOLUTE ${folder})
    set(${result} ${CMAKE_INSTALL_PREFIX} PARENT_SCOPE)
  else()
    file(RELATIVE_PATH way /prefix/${folder} /prefix)
    string(REGEX REPLACE "/$" "" way "${way}")
    set(${result} "\${pcfiledir}/${way}" PARENT_SCOPE)
  endif()
endfunction()

# In a pkg-config file: a folder of the installed tree.
function(dorvane_pkgconfig_path result folder)
  if(IS_ABSOLUTE ${folder})
    set(${result} ${folder} PARENT_SCOPE)
  else()
    set(${result} "\${prefix}/${folder}" PARENT_SCOPE)
  endif()
endfunction()

# dorvane_install_library(TARGET COMPONENT DESCRIPTION ... REQUIRES ... STATIC_REQUIRES ... STATIC_LIBRARIES ...):
# the library, its CMake targets and its pkg-config file. REQUIRES names the pkg-config modules of its headers,
# STATIC_REQUIRES those that a static archive needs to be linked, STATIC_LIBRARIES what has no such module.
function(dorvane_install_library target component)
  cmake_parse_arguments(arg "" "DESCRIPTION" "REQUIRES;STATIC_REQUIRES;STATIC_LIBRARIES" ${ARGN})
  install(TARGETS ${target} EXPORT ${target}Targets
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT ${component} NAMELINK_COMPONENT development
    ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT development
    RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT ${component}
    INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
  install(EXPORT ${target}Targets NAMESPACE Dorvane:: DESTINATION ${dorvane_cmake_dir} COMPONENT development)
  # What an archive needs stands in "Requires" and not in "Requires.private": nothing but the archive is
  # there to be linked, so its users need it with and without "pkg-config --static". And the file of a
  # shared library does not name it at all: pkg-config insists on the modules of "Requires.private", too,
  # which would make every user of the shared library install the headers of ICU, OpenSSL and libxml2.
  if(dorvane_kind STREQUAL STATIC_LIBRARY)
    list(APPEND arg_REQUIRES ${arg_STATIC_REQUIRES})
    list(TRANSFORM arg_STATIC_LIBRARIES PREPEND " -l" OUTPUT_VARIABLE libraries)
  endif()
  dorvane_install_pkgconfig(${target} "${arg_DESCRIPTION}" "${arg_REQUIRES}" "${libraries}")
endfunction()

function(dorvane_install_pkgconfig target description requires libraries)
  dorvane_way_to_prefix(prefix ${dorvane_pkgconfig_dir})
  dorvane_pkgconfig_path(libdir ${CMAKE_INSTALL_LIBDIR})
  dorvane_pkgconfig_path(includedir ${CMAKE_INSTALL_INCLUDEDIR})
  get_target_property(name ${target} OUTPUT_NAME)
  list(JOIN requires ", " requires)
  # What CMake's users of the target get, too.
  dorvane_flags(options ${target} INTERFACE_LINK_OPTIONS " ")
  string(REPLACE "LINKER:" "-Wl," options "${options}")
  string(REPLACE "$<TARGET_FILE:$<TARGET_NAME:${target}>>" "-l${name}" options "${options}")
  dorvane_flags(definitions ${target} INTERFACE_COMPILE_DEFINITIONS " -D")
  configure_file(${PROJECT_SOURCE_DIR}/cmake/dorvane.pc.in ${dorvane_package_files}/${name}.pc @ONLY)
  install(FILES ${dorvane_package_files}/${name}.pc DESTINATION ${dorvane_pkgconfig_dir} COMPONENT development)
endfunction()

# dorvane_flags(RESULT TARGET PROPERTY BEFORE): the values of a list property in one line, BEFORE before each.
function(dorvane_flags result target property before)
  get_target_property(values ${target} ${property})
  if(values)
    list(TRANSFORM values PREPEND "${before}")
    list(JOIN values "" line)
  endif()
  set(${result} "${line}" PARENT_SCOPE)
endfunction()

dorvane_install_library(Dorvane library
  DESCRIPTION "Over-the-air translations for Qt applications"
  REQUIRES "Qt6Core >= 6.4"
  STATIC_REQUIRES Qt6Network icu-i18n icu-uc libcrypto zlib libxml-2.0)
file(GLOB dorvane_headers CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/include/Dorvane/*.h)
list(FILTER dorvane_headers EXCLUDE REGEX "/DV(Quick|KeychainSystem|Review|ViewWithText)[^/]*$")
install(FILES ${dorvane_headers} DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/Dorvane COMPONENT development)

if(TARGET DorvaneQuick)
  dorvane_install_library(DorvaneQuick quick
    DESCRIPTION "Over-the-air translations for QML applications"
    REQUIRES "dorvane = ${PROJECT_VERSION}" "Qt6Core >= 6.4"
    STATIC_REQUIRES Qt6Qml)
  file(GLOB dorvane_headers CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/include/Dorvane/DVQuick*.h)
  install(FILES ${dorvane_headers} DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/Dorvane COMPONENT development)
endif()

if(TARGET DorvaneKeychain)
  dorvane_install_library(DorvaneKeychain keychain
    DESCRIPTION "Translators' sign-ins in the system's keychain"
    REQUIRES "dorvane = ${PROJECT_VERSION}" "Qt6Core >= 6.4"
    STATIC_LIBRARIES qt6keychain)
  install(FILES ${PROJECT_SOURCE_DIR}/include/Dorvane/DVKeychainSystem.h
    DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/Dorvane COMPONENT development)
endif()

if(TARGET DorvaneReview)
  # Of its own release only: it uses what libdorvane exports for it alone.
  get_target_property(dorvane_review_qt DorvaneReview DORVANE_QT_MODULES)
  list(TRANSFORM dorvane_review_qt PREPEND Qt6 OUTPUT_VARIABLE dorvane_review_modules)
  dorvane_install_library(DorvaneReview review
    DESCRIPTION "In-app review of translations in Qt applications"
    REQUIRES "dorvane = ${PROJECT_VERSION}" "Qt6Core >= 6.4"
    STATIC_REQUIRES ${dorvane_review_modules})
  install(FILES ${PROJECT_SOURCE_DIR}/include/Dorvane/DVReview.h ${PROJECT_SOURCE_DIR}/include/Dorvane/DVViewWithText.h
    DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/Dorvane COMPONENT development)
endif()

configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/DorvaneConfig.cmake.in
  ${dorvane_package_files}/DorvaneConfig.cmake INSTALL_DESTINATION ${dorvane_cmake_dir}
  NO_SET_AND_CHECK_MACRO NO_CHECK_REQUIRED_COMPONENTS_MACRO)
write_basic_package_version_file(${dorvane_package_files}/DorvaneConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${dorvane_package_files}/DorvaneConfig.cmake ${dorvane_package_files}/DorvaneConfigVersion.cmake
  DESTINATION ${dorvane_cmake_dir} COMPONENT development)

if(TARGET dorvane_tool)
  install(TARGETS dorvane_tool RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT tools)
  install(FILES ${PROJECT_SOURCE_DIR}/man/dorvane.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT tools)
endif()

install(FILES ${PROJECT_SOURCE_DIR}/README.md ${PROJECT_SOURCE_DIR}/LICENSE
  DESTINATION ${DORVANE_INSTALL_DOCDIR} COMPONENT development)
install(DIRECTORY ${PROJECT_SOURCE_DIR}/docs DESTINATION ${DORVANE_INSTALL_DOCDIR} COMPONENT development
  PATTERN api EXCLUDE) # how the API reference is made, not the reference
