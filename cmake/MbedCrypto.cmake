# The cipher half of mbed TLS 2.28, which ships no CMake package in Debian.
find_path(MBEDCRYPTO_INCLUDE_DIR mbedtls/aes.h REQUIRED)
find_library(MBEDCRYPTO_LIBRARY mbedcrypto REQUIRED)

add_library(MbedCrypto INTERFACE IMPORTED)
target_include_directories(MbedCrypto INTERFACE "${MBEDCRYPTO_INCLUDE_DIR}")
target_link_libraries(MbedCrypto INTERFACE "${MBEDCRYPTO_LIBRARY}")
