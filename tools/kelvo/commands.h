#pragma once

#include "tools/kelvo/command_line.h"

namespace qv::kelvo_tool {

// Each command has a source file that describes its arguments. Errors go to the standard error
// stream; the file "-" is the standard input, or output.
void addShow(CommandLine& line);
void addGet(CommandLine& line);
void addSet(CommandLine& line);
void addEdit(CommandLine& line);
void addCheck(CommandLine& line);
void addStats(CommandLine& line);
void addPaths(CommandLine& line);
void addDeps(CommandLine& line);
void addHash(CommandLine& line);
void addFind(CommandLine& line);
void addExplain(CommandLine& line);
void addGraph(CommandLine& line);
void addDiff(CommandLine& line);
void addWhy(CommandLine& line);
void addPatch(CommandLine& line);
void addMerge(CommandLine& line);
void addPack(CommandLine& line);
void addUnpack(CommandLine& line);
void addEval(CommandLine& line);
void addNew(CommandLine& line);
void addConvert(CommandLine& line);
void addTypes(CommandLine& line);
void addHelp(CommandLine& line);
void addLibrary(CommandLine& line);
void addStubs(CommandLine& line);
void addImport(CommandLine& line);
void addRender(CommandLine& line);

} // namespace qv::kelvo_tool
