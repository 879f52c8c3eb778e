// libqorp_NoFactory.so: a library that can be loaded, but exports no "create".
extern "C" __attribute__((visibility("default"))) int NotAFactory();

int NotAFactory()
{
    return 0;
}
