// Rows.h - a table for an answer: a class array with an element for each row.
//
//     Rows rows;
//     CIWbemUtil::setStringToIWbemClassObject(rows.Add(), "Name", "eth0");
//     rows.AppendTo(result, "Devices");
#ifndef ONE_REQUEST_PROVIDER_ROWS_H
#define ONE_REQUEST_PROVIDER_ROWS_H

#include <deque>
#include <vector>

#include "CIWbemUtil.h"
#include "IWbemClassObject.h"

namespace one_request {

class Rows
{
public:
    /// The new last row, empty; it stays where it is.
    IWbemClassObject* Add()
    {
        rows_.emplace_back();
        return &rows_.back();
    }

    /// Copies the rows.
    void AppendTo(IWbemClassObject* result, const char* name)
    {
        std::vector<IWbemClassObject*> elements;
        for (IWbemClassObject& row : rows_)
            elements.push_back(&row);
        (void)CIWbemUtil::setParameterClassArrayToIWbemClassObject(result, name, &elements);
    }

private:
    std::deque<IWbemClassObject> rows_;
};

}  // namespace one_request

#endif  // ONE_REQUEST_PROVIDER_ROWS_H
