/* The groups that CMakeLists.txt lists. */
#include <string.h>

#include "tool.h"

#define GROUP(name) extern const struct group group_##name;
#include "groups.inc"
#undef GROUP

const struct group *const groups[] = {
#define GROUP(name) &group_##name,
#include "groups.inc"
#undef GROUP
    NULL};

const struct group *find_group(const char *name) {
  const struct group *const *group = groups;

  while (*group != NULL && strcmp((*group)->name, name) != 0)
    ++group;
  return *group;
}

const struct action *find_action(const struct group *group, const char *name) {
  const struct action *action = group->actions;

  while (action->name != NULL && strcmp(action->name, name) != 0)
    ++action;
  return action->name != NULL ? action : NULL;
}
