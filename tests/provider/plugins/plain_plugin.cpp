// A library with no entry point of ours.
extern "C" int QorPlainPluginAnswer();

extern "C" int QorPlainPluginAnswer()
{
    return 42;
}
