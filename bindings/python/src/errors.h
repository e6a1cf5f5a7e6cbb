#pragma once

#include "bindings/python/src/handles.h"

namespace qv::python {

/// The exception classes of `kelvo._errors`.
enum class ErrorKind {
    Error,
    Value,
    Kind,
    NotFound,
    Range,
    Dead,
    ReadOnly,
    Text,
    Evaluation,
    Busy,
    Refused,
    File
};

/// Throws an exception of Python.
[[noreturn]] void raise(ErrorKind kind, const String& message);
[[noreturn]] void raise(ErrorKind kind, const String& message, const py::object& details);

/// Throws if the operation failed, with its message.
void check(const Result& result, ErrorKind kind = ErrorKind::Refused);

/// Returns the handle that was made, or throws.
template<class T>
T made(const Made<T>& handle, ErrorKind kind = ErrorKind::Refused) {
    check(handle.result(), kind);
    return handle;
}

/// Sends what the library logs to the logger "kelvo" of Python.
void redirectLog();

/// Collects the lines that the library logs on this thread during an operation. A line that an
/// exception will carry is dropped, others go to the logger of Python at the end. Begins with the
/// interpreter lock held.
class LogScope {
public:
    LogScope() noexcept;
    ~LogScope();
    LogScope(const LogScope&) = delete;
    LogScope& operator=(const LogScope&) = delete;

    /// Drops the lines with this text.
    static void drop(const String& message);

private:
    bool m_isOutermost;
};

/// Tells whether Python code can run: the interpreter is there and does not end.
bool isPythonThere() noexcept;

/// Logs the current exception of a callback with its traceback, and keeps it as the cause of the
/// failure that follows from it on this thread.
void logCallbackError(const String& where, py::error_already_set& error);

/// Forgets the exception that was kept, and returns it; None if there is none.
py::object takeCallbackError();

} // namespace qv::python
