# SPDX-License-Identifier: MIT
# Adds up the test cases in ctest's LastTest.log: the summary lines of GoogleTest, and those of the
# form "N passed, N failed, N skipped" of our scripts. A program that fails without naming a failed case
# (it crashed, or ran too long) counts as one failure; one that has no summary counts as one test.
# The exit code is 1 when anything failed or nothing ran.
function close_section() {
    if (name == "") {
        return
    }
    if (!ok && caseFailed == 0) {
        caseFailed = 1
    }
    if (ok && !summed) {
        casePassed = 1
    }
    if (caseFailed > 0) {
        print "FAILED: " name
    }
    passed += casePassed
    failed += caseFailed
    skipped += caseSkipped
    name = ""
}
/^[0-9]+\/[0-9]+ Testing: / {
    close_section()
    name = $3
    ok = summed = casePassed = caseFailed = caseSkipped = 0
}
/^\[  PASSED  \] [0-9]+ tests?\./ { casePassed = $4; summed = 1 }
/^\[  FAILED  \] [0-9]+ tests?, listed below/ { caseFailed = $4 }
/^\[  SKIPPED \] [0-9]+ tests?, listed below/ { caseSkipped = $4; summed = 1 }
/^[0-9]+ passed, [0-9]+ failed(, [0-9]+ skipped)?$/ {
    casePassed = $1
    caseFailed = $3
    caseSkipped = NF > 4 ? $5 : 0
    summed = 1
}
/^Test Passed\.$/ { ok = 1 }
/^Test Skipped\.?$/ {
    ok = summed = 1
    if (caseSkipped == 0) {
        caseSkipped = 1
    }
}
END {
    close_section()
    printf "%d passed, %d failed, %d skipped\n", passed, failed, skipped
    exit (failed > 0 || passed == 0)
}
