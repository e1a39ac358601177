# Foreign libraries used by quorel/platform/. They are linked privately: no public header of
# the library includes a foreign header, so consumers need none of them at compile time.
# tests/fuzz includes this file too, so both builds link the same set.
find_package(Threads REQUIRED)

function(quorel_find_lib var)
  find_library(${var} NAMES ${ARGN} REQUIRED)
endfunction()

# Vector math.
quorel_find_lib(SLEEF_LIBRARY sleef)
find_path(SLEEF_INCLUDE_DIR sleef.h REQUIRED)
# BLAS and LAPACK: OpenBLAS carries both; liblapacke-dev only for its headers' declarations.
quorel_find_lib(OPENBLAS_LIBRARY openblas)
# FFT.
quorel_find_lib(FFTW3_LIBRARY fftw3)
quorel_find_lib(FFTW3_THREADS_LIBRARY fftw3_threads)
find_path(FFTW3_INCLUDE_DIR fftw3.h REQUIRED)
# Sparse direct solvers: SuiteSparse (no CMake or pkg-config files on Debian 12).
find_path(SUITESPARSE_INCLUDE_DIR umfpack.h PATH_SUFFIXES suitesparse REQUIRED)
quorel_find_lib(UMFPACK_LIBRARY umfpack)
quorel_find_lib(CHOLMOD_LIBRARY cholmod)
quorel_find_lib(AMD_LIBRARY amd)
quorel_find_lib(COLAMD_LIBRARY colamd)
quorel_find_lib(SUITESPARSECONFIG_LIBRARY suitesparseconfig)
# MUMPS, sequential build: its stand-in MPI header lives in mumps_seq/.
find_path(MUMPS_INCLUDE_DIR dmumps_c.h REQUIRED)
find_path(MUMPS_SEQ_INCLUDE_DIR mpi.h PATHS /usr/include/mumps_seq NO_DEFAULT_PATH REQUIRED)
quorel_find_lib(DMUMPS_LIBRARY dmumps_seq)
quorel_find_lib(ZMUMPS_LIBRARY zmumps_seq)
quorel_find_lib(MUMPS_COMMON_LIBRARY mumps_common_seq)
quorel_find_lib(MPISEQ_LIBRARY mpiseq_seq)
# Arb for the special functions of complex argument.
quorel_find_lib(ARB_LIBRARY flint-arb)
quorel_find_lib(FLINT_LIBRARY flint)

add_library(quorel_platform_deps INTERFACE)
target_include_directories(quorel_platform_deps INTERFACE $<BUILD_INTERFACE:${SLEEF_INCLUDE_DIR}>
  $<BUILD_INTERFACE:${FFTW3_INCLUDE_DIR}> $<BUILD_INTERFACE:${SUITESPARSE_INCLUDE_DIR}>
  $<BUILD_INTERFACE:${MUMPS_INCLUDE_DIR}> $<BUILD_INTERFACE:${MUMPS_SEQ_INCLUDE_DIR}>)
target_link_libraries(quorel_platform_deps INTERFACE
  $<BUILD_INTERFACE:${SLEEF_LIBRARY}>
  $<BUILD_INTERFACE:${OPENBLAS_LIBRARY}>
  $<BUILD_INTERFACE:${FFTW3_THREADS_LIBRARY}> $<BUILD_INTERFACE:${FFTW3_LIBRARY}>
  $<BUILD_INTERFACE:${UMFPACK_LIBRARY}> $<BUILD_INTERFACE:${CHOLMOD_LIBRARY}>
  $<BUILD_INTERFACE:${AMD_LIBRARY}> $<BUILD_INTERFACE:${COLAMD_LIBRARY}>
  $<BUILD_INTERFACE:${SUITESPARSECONFIG_LIBRARY}>
  $<BUILD_INTERFACE:${DMUMPS_LIBRARY}> $<BUILD_INTERFACE:${ZMUMPS_LIBRARY}>
  $<BUILD_INTERFACE:${MUMPS_COMMON_LIBRARY}> $<BUILD_INTERFACE:${MPISEQ_LIBRARY}>
  $<BUILD_INTERFACE:${ARB_LIBRARY}> $<BUILD_INTERFACE:${FLINT_LIBRARY}>
  Threads::Threads)
