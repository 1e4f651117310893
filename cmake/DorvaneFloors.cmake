# The floors of the library, lowest first. A floor may use lower floors only:
# dorvane_floor() links all of them and nothing else, so an include that goes up does not compile.
set(DORVANE_FLOORS platform base model network store core)

# Settings shared by every target of ours.
add_library(dorvane_settings INTERFACE)
target_compile_definitions(dorvane_settings INTERFACE
  QT_NO_KEYWORDS QT_NO_CAST_FROM_ASCII QT_NO_CAST_TO_ASCII QT_NO_CAST_FROM_BYTEARRAY
  QT_NO_URL_CAST_FROM_STRING QT_NO_FOREACH QT_NO_NARROWING_CONVERSIONS_IN_CONNECT
  QT_STRICT_ITERATORS QT_USE_QSTRINGBUILDER)
# The release as the name of a symbol, see src/platform/DVPrivateExport.h.
string(REPLACE . _ dorvane_private_release dorvane_private_${PROJECT_VERSION})
target_compile_definitions(dorvane_settings INTERFACE DORVANE_PRIVATE_RELEASE=${dorvane_private_release})
# What the library exports is not replaced by others' functions of the same names: it may be inlined.
if(UNIX AND NOT APPLE)
  target_compile_options(dorvane_settings INTERFACE -fno-semantic-interposition)
endif()
target_compile_options(dorvane_settings INTERFACE
  -Wall -Wextra -Wpedantic -Wconversion -Wsuggest-override)
# Where several files are compiled as one, names of one stand before those of the next, and what is private to a
# file seems to be a header's.
if(NOT CMAKE_UNITY_BUILD)
  target_compile_options(dorvane_settings INTERFACE -Wshadow)
elseif(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
  target_compile_options(dorvane_settings INTERFACE -Wno-subobject-linkage)
endif()
if(DORVANE_WARNINGS_AS_ERRORS)
  target_compile_options(dorvane_settings INTERFACE -Werror)
endif()
if(DORVANE_SANITIZE_ADDRESS)
  add_compile_options(-fsanitize=address,undefined -fno-sanitize-recover=undefined -fno-omit-frame-pointer)
  add_link_options(-fsanitize=address,undefined)
endif()
if(DORVANE_BUILD_FUZZERS)
  add_compile_options(-fsanitize=fuzzer-no-link)
endif()
if(DORVANE_SANITIZE_THREAD)
  add_compile_options(-fsanitize=thread -fno-omit-frame-pointer)
  add_link_options(-fsanitize=thread)
  add_compile_definitions(DORVANE_THREAD_SANITIZER)
endif()

# dorvane_floor(NAME SOURCES ... LIBRARIES ...): one target for one folder below src/.
function(dorvane_floor name)
  cmake_parse_arguments(arg "" "" "SOURCES;LIBRARIES" ${ARGN})
  list(FIND DORVANE_FLOORS ${name} level)
  if(level EQUAL -1)
    message(FATAL_ERROR "${name} is not a floor; see DORVANE_FLOORS")
  endif()
  add_library(dorvane_${name} OBJECT ${arg_SOURCES})
  target_compile_definitions(dorvane_${name} PRIVATE DORVANE_BUILDING)
  target_include_directories(dorvane_${name} PUBLIC
    ${CMAKE_CURRENT_SOURCE_DIR} ${PROJECT_SOURCE_DIR}/include)
  target_link_libraries(dorvane_${name} PUBLIC dorvane_settings Qt6::Core ${arg_LIBRARIES})
  foreach(lower IN LISTS DORVANE_FLOORS)
    if(lower STREQUAL name)
      break()
    endif()
    target_link_libraries(dorvane_${name} PUBLIC dorvane_${lower})
  endforeach()
endfunction()

# dorvane_use_floors(TARGET HIGHEST): link a program of ours with the objects of a floor and those below it.
function(dorvane_use_floors target highest)
  target_link_libraries(${target} PRIVATE dorvane_settings)
  foreach(floor IN LISTS DORVANE_FLOORS)
    target_link_libraries(${target} PRIVATE dorvane_${floor})
    if(floor STREQUAL highest)
      return()
    endif()
  endforeach()
endfunction()

# dorvane_finish_library(TARGET FILE_NAME): what our libraries have in common: version, exported names, no names
# left open.
function(dorvane_finish_library target file_name)
  target_link_options(${target} PRIVATE $<$<NOT:$<OR:$<BOOL:${DORVANE_SANITIZE_ADDRESS}>,$<BOOL:${DORVANE_SANITIZE_THREAD}>>>:-Wl,--no-undefined>)
  if(UNIX AND NOT APPLE AND BUILD_SHARED_LIBS)
    set(exports ${PROJECT_SOURCE_DIR}/cmake/Dorvane.map)
    # Calls of our own functions stay direct calls inside the library, exported or not: no table, no search.
    target_link_options(${target} PRIVATE LINKER:--version-script=${exports} LINKER:-Bsymbolic-functions)
    set_target_properties(${target} PROPERTIES LINK_DEPENDS ${exports})
  endif()
  set_target_properties(${target} PROPERTIES OUTPUT_NAME ${file_name}
    VERSION ${PROJECT_VERSION} SOVERSION ${PROJECT_VERSION_MAJOR} AUTOMOC OFF AUTORCC OFF)
  get_target_property(type ${target} TYPE)
  if(type STREQUAL STATIC_LIBRARY)
    target_compile_definitions(${target} INTERFACE DORVANE_STATIC)
    if(UNIX AND NOT APPLE)
      # The objects are those of a shared library. A host's own library that takes them in must not export them.
      set(archive ${CMAKE_STATIC_LIBRARY_PREFIX}${file_name}${CMAKE_STATIC_LIBRARY_SUFFIX})
      target_link_options(${target} INTERFACE LINKER:--exclude-libs,${archive})
    endif()
  endif()
endfunction()

# The library that applications link: all floors merged into one, because a static archive would
# drop the object file that only holds the start-up function.
function(dorvane_add_library)
  add_library(Dorvane)
  add_library(Dorvane::Dorvane ALIAS Dorvane)
  foreach(floor IN LISTS DORVANE_FLOORS)
    target_sources(Dorvane PRIVATE $<TARGET_OBJECTS:dorvane_${floor}>)
  endforeach()
  target_compile_features(Dorvane PUBLIC cxx_std_20) # the public headers; also in a host that says 17
  target_include_directories(Dorvane PUBLIC $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/include>)
  target_link_libraries(Dorvane
    PUBLIC Qt6::Core
    PRIVATE Qt6::Network ICU::uc ICU::i18n OpenSSL::Crypto ZLIB::ZLIB LibXml2::LibXml2)
  dorvane_finish_library(Dorvane dorvane)
endfunction()

# dorvane_library_above(FOLDER NAME SOURCES ... LIBRARIES ...): a library above the core, Dorvane::NAME, from
# src/FOLDER. It sees nothing of ours but the public headers, and links nothing of ours but Dorvane::Dorvane.
# Its objects, dorvane_FOLDER, are for tests, which link the floors' objects and not the library.
function(dorvane_library_above folder name)
  cmake_parse_arguments(arg "" "" "SOURCES;LIBRARIES" ${ARGN})
  add_library(dorvane_${folder} OBJECT ${arg_SOURCES})
  target_include_directories(dorvane_${folder} PUBLIC
    ${CMAKE_CURRENT_SOURCE_DIR} ${PROJECT_SOURCE_DIR}/include)
  target_link_libraries(dorvane_${folder} PUBLIC dorvane_settings ${arg_LIBRARIES})
  add_library(Dorvane${name} $<TARGET_OBJECTS:dorvane_${folder}>)
  add_library(Dorvane::${name} ALIAS Dorvane${name})
  target_link_libraries(Dorvane${name} PUBLIC Dorvane::Dorvane PRIVATE ${arg_LIBRARIES})
  set_target_properties(Dorvane${name} PROPERTIES EXPORT_NAME ${name})
  dorvane_finish_library(Dorvane${name} dorvane-${folder})
endfunction()

# dorvane_room_above(FOLDER SOURCES ... FLOORS ... LIBRARIES ...): the objects of a room above the core, to be
# merged into a library with others. It sees the public headers, the platform's and those of the floors that it names.
function(dorvane_room_above folder)
  cmake_parse_arguments(arg "" "" "SOURCES;FLOORS;LIBRARIES" ${ARGN})
  add_library(dorvane_${folder} OBJECT ${arg_SOURCES})
  target_include_directories(dorvane_${folder} PUBLIC
    ${CMAKE_CURRENT_SOURCE_DIR} ${PROJECT_SOURCE_DIR}/include)
  foreach(floor IN LISTS arg_FLOORS ITEMS platform) # any floor's header may say DORVANE_PRIVATE_EXPORT
    target_include_directories(dorvane_${folder} PUBLIC ${PROJECT_SOURCE_DIR}/src/${floor})
  endforeach()
  target_link_libraries(dorvane_${folder} PUBLIC dorvane_settings ${arg_LIBRARIES})
  if(DORVANE_SANITIZE_ADDRESS)
    # It asks for the type information of every class that is used, which libdorvane does not export.
    target_compile_options(dorvane_${folder} PRIVATE -fno-sanitize=vptr)
  endif()
endfunction()

# dorvane_library_of_rooms(FOLDER NAME ROOMS ... SOURCES ...): a library above the core, Dorvane::NAME, merged from
# the objects of rooms above the core and the sources of src/FOLDER. It uses what libdorvane exports for it alone
# (DORVANE_PRIVATE_EXPORT), and with that of its own release only. Its property DORVANE_QT_MODULES lists the
# modules of Qt that the rooms use.
function(dorvane_library_of_rooms folder name)
  cmake_parse_arguments(arg "" "" "ROOMS;SOURCES" ${ARGN})
  string(TOUPPER DORVANE_${name}_BUILDING building)
  add_library(Dorvane${name} ${arg_SOURCES})
  add_library(Dorvane::${name} ALIAS Dorvane${name})
  target_compile_definitions(Dorvane${name} PRIVATE ${building})
  foreach(room IN LISTS arg_ROOMS)
    target_compile_definitions(dorvane_${room} PRIVATE ${building})
    target_sources(Dorvane${name} PRIVATE $<TARGET_OBJECTS:dorvane_${room}>)
    target_include_directories(Dorvane${name} PRIVATE $<TARGET_PROPERTY:dorvane_${room},INCLUDE_DIRECTORIES>)
    get_target_property(libraries dorvane_${room} LINK_LIBRARIES)
    list(APPEND qt ${libraries})
  endforeach()
  list(FILTER qt INCLUDE REGEX "^Qt6::")
  list(REMOVE_DUPLICATES qt)
  target_link_libraries(Dorvane${name} PUBLIC Dorvane::Dorvane PRIVATE $<BUILD_INTERFACE:dorvane_settings> ${qt})
  list(TRANSFORM qt REPLACE "Qt6::" "")
  set_target_properties(Dorvane${name} PROPERTIES EXPORT_NAME ${name} DORVANE_QT_MODULES "${qt}")
  dorvane_finish_library(Dorvane${name} dorvane-${folder})
endfunction()

# dorvane_keep_library(TARGET SYMBOL): programs that link TARGET take it in even if their own code names nothing
# of it: of an archive the object file of SYMBOL, and a shared library although the linker is told to leave out
# what is not needed (as some distributions tell it always; -u does not count there).
function(dorvane_keep_library target symbol)
  get_target_property(type ${target} TYPE)
  if(MSVC)
    target_link_options(${target} INTERFACE LINKER:/INCLUDE:${symbol})
  elseif(APPLE)
    target_link_options(${target} INTERFACE LINKER:-u,_${symbol})
  elseif(type STREQUAL STATIC_LIBRARY)
    target_link_options(${target} INTERFACE LINKER:-u,${symbol})
  else()
    target_link_options(${target} INTERFACE
      LINKER:--push-state,--no-as-needed,$<TARGET_FILE:$<TARGET_NAME:${target}>>,--pop-state)
  endif()
endfunction()
