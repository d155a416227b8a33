#pragma once

namespace orbis::host {

class CommandSet;

// Each adds a command, or the commands of a family, with its options.
void AddDescribe(CommandSet& commands);
void AddCollect(CommandSet& commands);
void AddMetrics(CommandSet& commands);
void AddHealth(CommandSet& commands);
void AddExplain(CommandSet& commands);
void AddReport(CommandSet& commands);
void AddMachine(CommandSet& commands);

}  // namespace orbis::host
