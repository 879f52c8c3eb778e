// A library that ends every process that loads it.
#include <cstdlib>

namespace {

struct EndsTheProcess {
    EndsTheProcess() { std::abort(); }
};

const EndsTheProcess kEnd;

}  // namespace

extern "C" void* create();

extern "C" void* create()
{
    return nullptr;
}
