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
# configure. A library shows its headers by its own folder, so that an include that runs upward does not
# compile.
function(add_layer name)
  cmake_parse_arguments(LAYER "" "" "FILES;LINKS;PRIVATE_LINKS" ${ARGN})
  foreach(link ${LAYER_LINKS} ${LAYER_PRIVATE_LINKS})
    if(NOT TARGET "${link}" AND NOT link MATCHES "^\\$<")
      message(FATAL_ERROR "${name} links ${link}, which doesn't stand below it")
    endif()
  endforeach()
  add_library(${name} STATIC ${LAYER_FILES})
  target_include_directories(${name} PUBLIC "${CMAKE_CURRENT_SOURCE_DIR}")
  target_link_libraries(${name} PUBLIC common ${LAYER_LINKS} PRIVATE ${LAYER_PRIVATE_LINKS})
  target_precompile_headers(${name} REUSE_FROM pch)
endfunction()
