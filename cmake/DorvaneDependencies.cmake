# Everything here is a Debian package; scripts/setup installs the list.
find_package(Qt6 6.4 REQUIRED COMPONENTS Core Network)
find_package(ICU REQUIRED COMPONENTS uc i18n)
find_package(OpenSSL REQUIRED COMPONENTS Crypto)
find_package(ZLIB REQUIRED)
find_package(LibXml2 REQUIRED)

# What the tests, the tool and the examples need beyond the library itself.
if(DORVANE_BUILD_TESTS OR DORVANE_BUILD_EXAMPLES OR DORVANE_BUILD_BENCHMARKS)
  find_package(Qt6 6.4 REQUIRED COMPONENTS Widgets Test)
endif()
if(DORVANE_BUILD_TOOLS OR DORVANE_BUILD_TESTS)
  find_package(Qt6 6.4 REQUIRED COMPONENTS HttpServer)
endif()
if(DORVANE_BUILD_TESTS)
  # Writes property lists for the reader's tests; the library has a reader of its own.
  find_package(PkgConfig REQUIRED)
  pkg_check_modules(PLIST REQUIRED IMPORTED_TARGET libplist-2.0)
endif()

# dorvane_optional_library(OPTION NAME PURPOSE NEEDS ... PACKAGE ...): the option DORVANE_BUILD_OPTION, on where the CMake
# package NEEDS was found. Says why the library is not built, and fails where somebody asks for what cannot be.
function(dorvane_optional_library option name purpose)
  cmake_parse_arguments(arg "" "NEEDS;PACKAGE" "" ${ARGN})
  option(DORVANE_BUILD_${option} "Build ${name}, ${purpose}" ${${arg_NEEDS}_FOUND})
  if(DORVANE_BUILD_${option} AND NOT ${arg_NEEDS}_FOUND)
    message(FATAL_ERROR "DORVANE_BUILD_${option} needs ${arg_NEEDS} (Debian: ${arg_PACKAGE})")
  elseif(NOT ${arg_NEEDS}_FOUND)
    message(STATUS "${name} is not built: ${arg_NEEDS} was not found (Debian: ${arg_PACKAGE})")
  elseif(NOT DORVANE_BUILD_${option})
    message(STATUS "${name} is not built: DORVANE_BUILD_${option} is off")
  endif()
endfunction()

# Dorvane::Keychain is for builds in which translators work; others link no D-Bus.
find_package(Qt6Keychain 0.13 QUIET)
dorvane_optional_library(KEYCHAIN Dorvane::Keychain "which keeps a sign-in in the system's keychain"
  NEEDS Qt6Keychain PACKAGE qtkeychain-qt6-dev)

# Dorvane::Quick is for QML applications only; others need not have Qt's QML module.
find_package(Qt6 6.4 QUIET OPTIONAL_COMPONENTS Qml)
dorvane_optional_library(QUICK Dorvane::Quick "for QML applications" NEEDS Qt6Qml PACKAGE qt6-declarative-dev)
if(DORVANE_BUILD_QUICK AND (DORVANE_BUILD_TESTS OR DORVANE_BUILD_EXAMPLES))
  find_package(Qt6 6.4 REQUIRED COMPONENTS Quick QuickControls2)
endif()

# The interface for translators is widgets; others need not have them. It finds texts in Qt Quick where there is one.
find_package(Qt6 6.4 QUIET OPTIONAL_COMPONENTS Widgets Quick QuickWidgets)
dorvane_optional_library(REVIEW Dorvane::Review "the tools of in-app review, for applications with widgets"
  NEEDS Qt6Widgets PACKAGE qt6-base-dev)
