// Prints the request form with its headers, filled in with what a stranger's form says:
//
//   show_form [NAME=VALUE]...
#include "cgi/parameters.h"
#include "output/request_form.h"

int main(int argc, char** argv) {
  static Environment env{};
  static Settings settings;
  initialize(settings, env);
  settings.rules.whole_values = true;
  settings.rules.later_names = true;
  for (int i = 1; i < argc; ++i) {
    CompareParam(argv[i], settings, ParamSource::kStranger, kLevelForm);
  }
  AnswerForm(env, settings);
}
