// Starting the program when the user logs in.
#pragma once

#include <QString>

class LoginItems {
public:
    enum class Status { enabled, notRegistered, requiresApproval, notFound };

    virtual ~LoginItems() = default;
    virtual Status status() const = 0;
    // False with a description in `error` when the change failed.
    virtual bool registerItem(QString* error) = 0;
    virtual bool unregisterItem(QString* error) = 0;
};
