#include "tools/kelvo/commands.h"

#include "kelvo/base/log.h"
#include "tools/kelvo/libraries.h"
#ifdef KELVO_IS_RENDERER
#include "tools/kelvo/render_command.h"
#endif

#include <csignal>
#include <cstdlib>
#include <exception>
#include <new>

namespace {

using namespace qv::kelvo_tool;

void tellMessage(qv::LogLevel level, const char* message, void*) {
    if (level == qv::LogLevel::Warning)
        warn(message);
    else
        complain(message);
}

// In the order of the help.
void addCommands(CommandLine& line) {
    addShow(line);
    addGet(line);
    addSet(line);
    addEdit(line);
    addCheck(line);
    addStats(line);
    addPaths(line);
    addDeps(line);
    addHash(line);
    addFind(line);
    addExplain(line);
    addGraph(line);
    addDiff(line);
    addWhy(line);
    addPatch(line);
    addMerge(line);
    addPack(line);
    addUnpack(line);
    addEval(line);
    addNew(line);
    addConvert(line);
    addTypes(line);
    addHelp(line);
    addLibrary(line);
    addStubs(line);
    addImport(line);
    addRender(line);
}

Status run(int count, char** arguments) {
    CommandLine line;
    addLibraryArguments(line);
    addCommands(line);
    Terminal out;
    const Status status = line.run(count, arguments, out);
    qv::String error;
    if (out.flush(error)) return status;
    complain(error);
    return Status::Fault;
}

std::terminate_handler s_endOtherwise = nullptr;

// Ends the process when an exception, such as out of memory, cannot be caught.
[[noreturn]] void endSuddenly() {
    try {
        if (const std::exception_ptr thrown = std::current_exception())
            std::rethrow_exception(thrown);
    } catch (const std::bad_alloc&) {
        complainOfMemory();
        std::_Exit(static_cast<int>(Status::Fault));
    } catch (...) {
        s_endOtherwise();
    }
    s_endOtherwise();
    std::abort();
}

} // namespace

int main(int count, char** arguments) {
    s_endOtherwise = std::set_terminate(&endSuddenly);
    // With these signals ignored, a closed pipe and a file that must not grow show as failed
    // writes.
    std::signal(SIGPIPE, SIG_IGN);
    std::signal(SIGXFSZ, SIG_IGN);
    qv::setLogHandler(&tellMessage);
#ifdef KELVO_IS_RENDERER
    setRenderAction(&renderScene);
#endif
    try {
        return static_cast<int>(run(count, arguments));
    } catch (const std::bad_alloc&) {
        complainOfMemory();
        return static_cast<int>(Status::Fault);
    } catch (const std::exception& error) {
        complain(error.what());
        return static_cast<int>(Status::Fault);
    }
}
