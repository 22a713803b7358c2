# What every target of the program shares: the language, warnings, Qt defines, sanitizers.
add_library(common INTERFACE)
target_compile_features(common INTERFACE cxx_std_20)
target_compile_options(common INTERFACE
  -Wall -Wextra -Winvalid-pch -Wpedantic -Wnon-virtual-dtor -Woverloaded-virtual -Werror
  $<$<CXX_COMPILER_ID:GNU>:-Wshadow=local>)
target_compile_definitions(common INTERFACE
  QT_NO_CAST_FROM_ASCII
  QT_NO_CAST_TO_ASCII
  QT_NO_CAST_FROM_BYTEARRAY
  QT_NO_URL_CAST_FROM_STRING
  QT_NO_NARROWING_CONVERSIONS_IN_CONNECT
  QT_NO_FOREACH
  QT_USE_QSTRINGBUILDER
  QT_STRICT_ITERATORS
  QT_DISABLE_DEPRECATED_BEFORE=0x060000)
target_link_libraries(common INTERFACE Qt6::Core)

if(MARROWLIGHT_SANITIZE)
  target_compile_options(common INTERFACE
    -fsanitize=${MARROWLIGHT_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
  target_link_options(common INTERFACE -fsanitize=${MARROWLIGHT_SANITIZE})
endif()

# add_precompiled(pch pch.h): headers of cmake/ compiled once, for targets that say REUSE_FROM pch.
function(add_precompiled name header)
  file(WRITE "${CMAKE_CURRENT_BINARY_DIR}/${name}.cpp" "")
  add_library(${name} OBJECT "${CMAKE_CURRENT_BINARY_DIR}/${name}.cpp")
  set_target_properties(${name} PROPERTIES AUTOMOC OFF)
  target_link_libraries(${name} PRIVATE common ${ARGN})
  target_precompile_headers(${name} PRIVATE "$<$<COMPILE_LANGUAGE:CXX>:${PROJECT_SOURCE_DIR}/cmake/${header}>")
endfunction()
add_precompiled(pch pch.h)

# One library of a folder under src/. FILES are listed by name; LINKS may name only what stands
# below the folder, which is to say targets that are there already: a link that runs upward does not
# configure. An include names its folder ("store/people/phonenumbers.h"), and a library shows its headers
# through a link to its own folder alone, so that an include that runs upward does not compile. (Windows
# makes no links for everybody: there all headers can be seen.)
function(add_layer name)
  cmake_parse_arguments(LAYER "" "" "FILES;LINKS;PRIVATE_LINKS" ${ARGN})
  foreach(link ${LAYER_LINKS} ${LAYER_PRIVATE_LINKS})
    if(NOT TARGET "${link}" AND NOT link MATCHES "^\\$<")
      message(FATAL_ERROR "${name} links ${link}, which doesn't stand below it")
    endif()
  endforeach()
  add_library(${name} STATIC ${LAYER_FILES})
  if(CMAKE_HOST_WIN32)
    target_include_directories(${name} PUBLIC "${PROJECT_SOURCE_DIR}/src")
  else()
    file(RELATIVE_PATH folder "${PROJECT_SOURCE_DIR}/src" "${CMAKE_CURRENT_SOURCE_DIR}")
    set(headers "${PROJECT_BINARY_DIR}/headers/${name}")
    get_filename_component(parent "${headers}/${folder}" DIRECTORY)
    file(MAKE_DIRECTORY "${parent}")
    file(CREATE_LINK "${CMAKE_CURRENT_SOURCE_DIR}" "${headers}/${folder}" SYMBOLIC)
    target_include_directories(${name} PUBLIC "${headers}")
  endif()
  target_link_libraries(${name} PUBLIC common ${LAYER_LINKS} PRIVATE ${LAYER_PRIVATE_LINKS})
  target_precompile_headers(${name} REUSE_FROM pch)
endfunction()
