#include "driver/usage.h"

#include <cstdio>

namespace driver {

void usage() {
  std::fputs(
      "Usage (where MSN is the Managed System Name):\n"
      "  -p <MSN>  #Sets the config for the given instance. <MSN> can be left blank\n"
      "            #for a single instance agent, or when creating a new agent instance\n"
      "  -g <MSN>  #Gets the config for the given instance. <MSN> can be empty for\n"
      "            #single instance or default instance.\n"
      "  -r <MSN>  #Removes the configuration for the given agent instance\n"
      "  -i <MSN>  #Returns the agent's instance name from the given MSN. This can be\n"
      "            #used to start/stop agent instances. Agents that do not support\n"
      "            #multiple instances return nothing.\n",
      stderr);
}

}  // namespace driver
