// Loaded by support_test.cpp, to show that test plug-ins can be found and opened.
extern "C" int QorSupportPluginAnswer();

extern "C" int QorSupportPluginAnswer()
{
    return 42;
}
