# Targets that check the tree rather than build it; the workflow presets run them.
if(NOT PROJECT_IS_TOP_LEVEL)
    return()
endif()

function(qor_add_check name)
    add_custom_target(${name} COMMAND ${ARGN} WORKING_DIRECTORY "${PROJECT_SOURCE_DIR}"
                      USES_TERMINAL)
endfunction()

qor_add_check(static_checks scripts/check-static.sh "${PROJECT_SOURCE_DIR}")
qor_add_check(memcheck scripts/valgrind.sh "${PROJECT_BINARY_DIR}")
qor_add_check(coverage_report scripts/coverage.sh "${PROJECT_BINARY_DIR}")
qor_add_check(mutants scripts/mutate.py --build "${PROJECT_BINARY_DIR}")
qor_add_check(proofs "${CMAKE_COMMAND}" -E env
              "QOR_PROOF_BUILD=${PROJECT_BINARY_DIR}/programs" scripts/proof.sh all)
qor_add_check(debian_packages scripts/check-packages.sh "${PROJECT_BINARY_DIR}/packages"
              COMMAND scripts/check-autopkgtest.sh "${PROJECT_BINARY_DIR}/packages")
qor_add_check(rpm_packages scripts/check-rpm.sh)
