#ifndef COUNTER_H
#define COUNTER_H

struct Reading {
    int value;
    long when;
};

class Counter
{
public:
    explicit Counter(int start);
    virtual ~Counter();
    virtual int Next(int step);
    virtual void Reset();
    static int Length(const char* text);

private:
    int value_;
};

#endif
