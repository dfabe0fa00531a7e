# GoogleTest from its sources, for another system than this one: there is no package to find.
#
# QUILLON_GOOGLETEST_SOURCE is a folder like /usr/src/googletest of the Debian package googletest.
foreach(part gtest gtest_main gmock)
  add_library(quillon_${part} STATIC EXCLUDE_FROM_ALL)
  add_library(GTest::${part} ALIAS quillon_${part})
  target_compile_features(quillon_${part} PUBLIC cxx_std_20)
endforeach()
target_sources(quillon_gtest PRIVATE "${QUILLON_GOOGLETEST_SOURCE}/googletest/src/gtest-all.cc")
target_include_directories(quillon_gtest SYSTEM PUBLIC "${QUILLON_GOOGLETEST_SOURCE}/googletest/include"
                                                PRIVATE "${QUILLON_GOOGLETEST_SOURCE}/googletest")
target_sources(quillon_gmock PRIVATE "${QUILLON_GOOGLETEST_SOURCE}/googlemock/src/gmock-all.cc")
target_include_directories(quillon_gmock SYSTEM PUBLIC "${QUILLON_GOOGLETEST_SOURCE}/googlemock/include"
                                                PRIVATE "${QUILLON_GOOGLETEST_SOURCE}/googlemock")
target_link_libraries(quillon_gmock PUBLIC quillon_gtest)
target_sources(quillon_gtest_main PRIVATE "${QUILLON_GOOGLETEST_SOURCE}/googletest/src/gtest_main.cc")
target_link_libraries(quillon_gtest_main PUBLIC quillon_gtest)

# What tests call of the C library beside what the product does; the product must not.
set(stub "${QUILLON_MACOS_SYSTEM_ROOT}/usr/lib/tests/libSystem.tbd")
if(EXISTS "${stub}")
  target_link_libraries(quillon_gtest PUBLIC "${stub}")
endif()
