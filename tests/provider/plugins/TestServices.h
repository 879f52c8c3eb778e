// TestServices.h - the service interface that the tests' providers and their callers share.
#ifndef QOR_TEST_TESTSERVICES_H
#define QOR_TEST_TESTSERVICES_H

class ISomServices
{
public:
    virtual ~ISomServices() = default;
    virtual int Answer() const = 0;
};

#endif  // QOR_TEST_TESTSERVICES_H
