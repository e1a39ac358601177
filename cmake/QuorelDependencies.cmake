# Foreign libraries used by quorel/platform/. They are linked privately: no public header of
# the library includes a foreign header, so consumers need none of them at compile time.
find_package(Threads REQUIRED)
find_library(SLEEF_LIBRARY NAMES sleef REQUIRED)
find_path(SLEEF_INCLUDE_DIR sleef.h REQUIRED)

add_library(quorel_platform_deps INTERFACE)
target_include_directories(quorel_platform_deps INTERFACE $<BUILD_INTERFACE:${SLEEF_INCLUDE_DIR}>)
target_link_libraries(quorel_platform_deps INTERFACE
  $<BUILD_INTERFACE:${SLEEF_LIBRARY}> Threads::Threads)
