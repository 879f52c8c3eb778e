// A vendor library: exports "GetVendorFactory", which distinguishes its arguments by their first
// bytes.
extern "C" void* GetVendorFactory(const char* device, const char* vendor);

extern "C" void* GetVendorFactory(const char* device, const char* vendor)
{
    static int factories[2];
    return device[0] < vendor[0] ? &factories[0] : &factories[1];
}
