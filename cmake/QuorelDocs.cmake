# The API reference: the `docs` target writes it to <build>/docs/html, and the api_reference test
# builds it too, so an undocumented public declaration (any Doxygen warning) fails the test suite.
# docs/doxygen/reference.py stages the headers and runs Doxygen with docs/Doxyfile.
find_program(QUOREL_PYTHON3 python3)
set(QUOREL_REFERENCE_SCRIPT ${PROJECT_SOURCE_DIR}/docs/doxygen/reference.py)
if(QUOREL_PYTHON3)
  set(QUOREL_REFERENCE_COMMAND ${QUOREL_PYTHON3} ${QUOREL_REFERENCE_SCRIPT})
else()
  set(QUOREL_REFERENCE_COMMAND sh -c "echo 'api reference: python3 is not installed' >&2; exit 1" --)
endif()

add_custom_target(docs
  COMMAND ${QUOREL_REFERENCE_COMMAND} ${PROJECT_BINARY_DIR}/docs
  WORKING_DIRECTORY ${PROJECT_SOURCE_DIR}
  COMMENT "Building the API reference"
  VERBATIM)

if(QUOREL_BUILD_TESTS)
  add_test(NAME api_reference
    COMMAND ${QUOREL_REFERENCE_COMMAND} ${PROJECT_BINARY_DIR}/docs-test
    WORKING_DIRECTORY ${PROJECT_SOURCE_DIR})
  set_tests_properties(api_reference PROPERTIES TIMEOUT 120)
endif()
