#include "Counter.h"

int main()
{
    Counter counter(3);
    const bool counts = counter.Next(1) == 4 && counter.Next(2) == 6;
    counter.Reset();
    return counts && counter.Next(1) == 1 && Counter::Length("four") == 4 ? 0 : 1;
}
