# Installs the built library into a temporary prefix, then builds and runs a consumer project
# against it twice: through find_package(Quorel) and through pkg-config.
set(prefix ${WORK_DIR}/prefix)
file(REMOVE_RECURSE ${WORK_DIR})
execute_process(COMMAND ${CMAKE_COMMAND} --install ${BINARY_DIR} --prefix ${prefix} RESULT_VARIABLE rc)
if(rc)
  message(FATAL_ERROR "install failed: ${rc}")
endif()

# Only public headers are installed: nothing from a detail/ folder or the platform layer.
file(GLOB_RECURSE internal RELATIVE ${prefix}/include ${prefix}/include/quorel/*/detail/*
     ${prefix}/include/quorel/platform/*)
file(GLOB_RECURSE installed ${prefix}/include/quorel/*.h)
if(internal OR NOT installed)
  message(FATAL_ERROR "internal headers installed: ${internal} (public headers found: ${installed})")
endif()

execute_process(COMMAND ${CMAKE_COMMAND} -S ${CONSUMER_DIR} -B ${WORK_DIR}/build -G Ninja
                  -DCMAKE_PREFIX_PATH=${prefix} -DCMAKE_BUILD_TYPE=Release
                RESULT_VARIABLE rc)
if(rc)
  message(FATAL_ERROR "consumer configure failed: ${rc}")
endif()
execute_process(COMMAND ${CMAKE_COMMAND} --build ${WORK_DIR}/build RESULT_VARIABLE rc)
if(rc)
  message(FATAL_ERROR "consumer build failed: ${rc}")
endif()
execute_process(COMMAND ${WORK_DIR}/build/consumer RESULT_VARIABLE rc OUTPUT_VARIABLE out)
if(rc OR NOT out MATCHES "consumer ok")
  message(FATAL_ERROR "consumer run failed: ${rc} ${out}")
endif()

find_program(PKG_CONFIG pkg-config REQUIRED)
if(PKG_CONFIG)
  set(ENV{PKG_CONFIG_PATH} ${prefix}/lib/pkgconfig:${prefix}/lib/x86_64-linux-gnu/pkgconfig)
  execute_process(COMMAND ${PKG_CONFIG} --cflags --libs quorel OUTPUT_VARIABLE flags
                  OUTPUT_STRIP_TRAILING_WHITESPACE RESULT_VARIABLE rc)
  if(rc)
    message(FATAL_ERROR "pkg-config does not know quorel")
  endif()
  separate_arguments(flags UNIX_COMMAND "${flags}")
  execute_process(COMMAND c++ -Wall -Wextra -Wpedantic -Werror ${CONSUMER_DIR}/consumer.cpp ${flags}
                          -o ${WORK_DIR}/consumer_pc RESULT_VARIABLE rc)
  if(rc)
    message(FATAL_ERROR "pkg-config build failed: ${rc}")
  endif()
  # No LD_LIBRARY_PATH: the run-time path that pkg-config's link flags carry must find the library.
  execute_process(COMMAND ${CMAKE_COMMAND} -E env --unset=LD_LIBRARY_PATH ${WORK_DIR}/consumer_pc
                  RESULT_VARIABLE rc OUTPUT_VARIABLE out)
  if(rc OR NOT out MATCHES "consumer ok")
    message(FATAL_ERROR "pkg-config consumer run failed: ${rc} ${out}")
  endif()
endif()
