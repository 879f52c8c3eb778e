// IWbemObjectSink.h - keeps a copy of an operation's result for the caller to collect.
//
//     IWbemObjectSink sink;
//     sink.Indicate(1, &result);                         // the provider's side
//     IWbemClassObject* copy = sink.GetOutParam();        // the caller's side
//
// Threads: one object, one thread at a time.
#ifndef QOR_IWBEMOBJECTSINK_H
#define QOR_IWBEMOBJECTSINK_H

#include <memory>
#include <vector>

#include "IWbemClassObject.h"
#include "QorExport.h"

class QOR_API IWbemObjectSink
{
public:
    /// No out parameter.
    IWbemObjectSink();

    /// Holds a deep copy of the other sink's out parameter.
    IWbemObjectSink(const IWbemObjectSink& other);

    /// Makes a deep copy of the other sink's out parameter the out parameter; earlier ones stay
    /// valid as with Indicate.
    IWbemObjectSink& operator=(const IWbemObjectSink& other);

    /// Destroys every object the sink holds. Intended: without Release(), so nested objects leak:
    /// call GetOutParam()->Release() first if the result has some.
    virtual ~IWbemObjectSink();

    /// Makes a deep copy of objects[0] the out parameter; `count` and further elements are
    /// ignored. A null array or a null first element changes nothing. Returns 0 always.
    ///
    /// Intended: an earlier out parameter is not freed by this call; pointers to it stay valid
    /// until the sink is destroyed. Without memory for the copy (std::bad_alloc) nothing changes.
    long Indicate(long count, IWbemClassObject** objects);

    /// Does nothing; returns 0.
    long SetStatus(long flags, unsigned long result, char* text, IWbemClassObject* object);

    /// The copy of the last object indicated, or null. The sink owns it.
    IWbemClassObject* GetOutParam();

private:
    std::vector<std::unique_ptr<IWbemClassObject>> received_;  // the last one is the out parameter
};

#endif  // QOR_IWBEMOBJECTSINK_H
