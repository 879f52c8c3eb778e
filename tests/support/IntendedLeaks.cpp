// IntendedLeaks.cpp - what LeakSanitizer does not report: memory that stays by contract.
//
// Part of every program of a build with AddressSanitizer: a file of suppressions would be read when
// a leak is found, in mounts that may cover it.

// One entry ("leak:" and a function, file or module of the allocation's stack) per line, each
// under a comment that gives the reason and the test that shows it.
extern "C" const char* __lsan_default_suppressions();
extern "C" const char* __lsan_default_suppressions()
{
    return
        // The symbol texts of an exception are not freed, so that its copies can share them
        // (CTraceExceptionTest.KeepsItsSymbolsBeyondItsEnd).
        "leak:CTraceException::init\n";
}

// Nothing on the standard error stream, which tests read, says that an entry was used.
extern "C" const char* __lsan_default_options();
extern "C" const char* __lsan_default_options()
{
    return "print_suppressions=0";
}
