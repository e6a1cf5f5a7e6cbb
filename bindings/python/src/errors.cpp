#include "bindings/python/src/errors.h"

#include <iterator>
#include <string>
#include <vector>

namespace qv::python {

namespace {

constexpr const char* kClasses[] = {"Error",         "InvalidValueError", "KindError",
                                    "NotFoundError", "RangeError",        "DeadHandleError",
                                    "ReadOnlyError", "TextError",         "EvaluationError",
                                    "BusyError",     "RefusedError",      "FileError"};
static_assert(std::size(kClasses) == static_cast<std::size_t>(ErrorKind::File) + 1);

struct LogLine {
    LogLevel level;
    std::string text;
};

thread_local std::vector<LogLine>* t_lines = nullptr;

// The exception of a callback; a thread that ends drops it.
struct Cause {
    PyObject* error = nullptr;
    ~Cause() {
        if (!error || !isPythonThere()) return;
        const py::gil_scoped_acquire lock;
        Py_DECREF(error);
    }
};
thread_local Cause t_cause;

py::object errorClass(ErrorKind kind) {
    return py::module_::import("kelvo._errors").attr(kClasses[static_cast<std::size_t>(kind)]);
}

void log(LogLevel level, const std::string& text) noexcept {
    if (!isPythonThere()) return;
    const py::gil_scoped_acquire lock;
    // A line may be logged while an exception is on its way.
    const py::error_scope kept;
    try {
        const py::object logger = py::module_::import("logging").attr("getLogger")("kelvo");
        const char* name = level == LogLevel::Error ? "error" : "warning";
        logger.attr(name)("%s", py::reinterpret_steal<py::object>(PyUnicode_DecodeUTF8(
                                    text.data(), static_cast<Py_ssize_t>(text.size()), "replace")));
    } catch (py::error_already_set& error) {
        error.discard_as_unraisable("kelvo's log");
    }
}

void handleLog(LogLevel level, const char* message, void*) {
    if (t_lines)
        t_lines->push_back({level, message});
    else
        log(level, message);
}

} // namespace

void raise(ErrorKind kind, const String& message, const py::object& details) {
    LogScope::drop(message);
    const py::object type = errorClass(kind);
    const py::object cause = takeCallbackError();
    const py::object error = details.is_none() ? type(message) : type(message, details);
    if (!cause.is_none()) PyException_SetCause(error.ptr(), cause.inc_ref().ptr());
    PyErr_SetObject(type.ptr(), error.ptr());
    throw py::error_already_set();
}

void raise(ErrorKind kind, const String& message) {
    raise(kind, message, py::none());
}

void check(const Result& result, ErrorKind kind) {
    if (!result) raise(kind, result.message());
}

void redirectLog() {
    setLogHandler(&handleLog);
}

LogScope::LogScope() noexcept : m_isOutermost(t_lines == nullptr) {
    thread_local std::vector<LogLine> lines;
    if (!m_isOutermost) return;
    t_lines = &lines;
    // An exception that failed nothing is no cause of failures to come.
    if (t_cause.error) Py_DECREF(std::exchange(t_cause.error, nullptr));
}

LogScope::~LogScope() {
    if (!m_isOutermost) return;
    if (t_lines->empty()) {
        t_lines = nullptr;
        return;
    }
    const std::vector<LogLine> lines = std::exchange(*t_lines, {});
    t_lines = nullptr;
    for (const LogLine& line : lines)
        log(line.level, line.text);
}

void LogScope::drop(const String& message) {
    if (t_lines)
        std::erase_if(*t_lines, [&](const LogLine& line) { return message.view() == line.text; });
}

bool isPythonThere() noexcept {
    return Py_IsInitialized() != 0 && !_Py_IsFinalizing();
}

void logCallbackError(const String& where, py::error_already_set& error) {
    const py::object format = py::module_::import("traceback").attr("format_exception");
    // An exception of the module itself has no place in Python yet.
    const py::object trace = error.trace() ? error.trace() : py::none();
    const py::object lines = format(error.type(), error.value(), trace);
    const py::str text = py::str("").attr("join")(lines);
    Py_XDECREF(std::exchange(t_cause.error, error.value().inc_ref().ptr()));
    logError("%s raised an exception:\n%s", where.buf(), std::string(text).c_str());
}

py::object takeCallbackError() {
    PyObject* cause = std::exchange(t_cause.error, nullptr);
    return cause ? py::reinterpret_steal<py::object>(cause) : py::none();
}

} // namespace qv::python
