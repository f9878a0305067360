#include "cgi/environment.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <ctime>
#include <string>

#include "dates/clock.h"

namespace {

struct Variable {
  const char* name;
  const char* slot;
  size_t capacity;
};

#define SLOT(env, name) \
  { #name, (env).name, sizeof(env).name }

class GetEnvTest : public testing::Test {
 protected:
  void SetUp() override {
    setenv("TZ", "UTC0", 1);
    tzset();
    SetCurrentTimeForTest(951827696);  // Tuesday, 29 February 2000, 12:34:56
    clearenv();
    setenv("TZ", "UTC0", 1);
  }
  void TearDown() override { SetCurrentTimeForTest(-1); }

  Environment env;
  const Variable variables[22] = {
      SLOT(env, AUTH_TYPE),         SLOT(env, CONTENT_LENGTH),
      SLOT(env, CONTENT_TYPE),      SLOT(env, DOCUMENT_ROOT),
      SLOT(env, GATEWAY_INTERFACE), SLOT(env, HTTP_ACCEPT),
      SLOT(env, HTTP_USER_AGENT),   SLOT(env, PATH),
      SLOT(env, PATH_INFO),         SLOT(env, PATH_TRANSLATED),
      SLOT(env, QUERY_STRING),      SLOT(env, REMOTE_ADDR),
      SLOT(env, REMOTE_HOST),       SLOT(env, REMOTE_IDENT),
      SLOT(env, REMOTE_USER),       SLOT(env, REQUEST_METHOD),
      SLOT(env, SCRIPT_NAME),       SLOT(env, SERVER_NAME),
      SLOT(env, SERVER_PORT),       SLOT(env, SERVER_PROTOCOL),
      SLOT(env, SERVER_SOFTWARE),   SLOT(env, SERVER_ADMIN),
  };
};

}  // namespace

TEST_F(GetEnvTest, CopiesEveryVariableIntoItsOwnSlot) {
  for (const Variable& variable : variables) {
    setenv(variable.name, (std::string("value of ") + variable.name).c_str(), 1);
  }
  GetEnv(env);
  for (const Variable& variable : variables) {
    EXPECT_EQ(variable.slot, std::string("value of ") + variable.name);
  }
}

TEST_F(GetEnvTest, UnsetVariablesLeaveEmptySlots) {
  memset(&env, 'x', sizeof env);
  GetEnv(env);
  for (const Variable& variable : variables) {
    SCOPED_TRACE(variable.name);
    EXPECT_STREQ(variable.slot, "");
  }
  EXPECT_EQ(env.command_line, 0);
}

TEST_F(GetEnvTest, CutsOverlongValuesToTheSlotsCapacity) {
  for (const Variable& variable : variables) {
    setenv(variable.name, std::string(5000, 'v').c_str(), 1);
  }
  GetEnv(env);
  for (const Variable& variable : variables) {
    SCOPED_TRACE(variable.name);
    EXPECT_EQ(variable.slot, std::string(variable.capacity - 1, 'v'));
  }
}

TEST_F(GetEnvTest, SlotsHave100Or200BytesButForUsers) {
  for (const Variable& variable : variables) {
    SCOPED_TRACE(variable.name);
    const std::string name = variable.name;
    const bool path = name == "DOCUMENT_ROOT" || name.starts_with("PATH") || name == "QUERY_STRING";
    EXPECT_EQ(variable.capacity, path ? 200U : name == "REMOTE_USER" ? 245U : 100U);
  }
}

// ---- What proxies tell ----

TEST_F(GetEnvTest, KeepsAListOfProxiesThatFits) {
  const std::string list = "x" + std::string(1021, ',') + "y";
  for (const std::string& told : {std::string(), std::string("192.0.2.1, 192.0.2.2"), list}) {
    setenv("HTTP_X_FORWARDED_FOR", told.c_str(), 1);
    GetEnv(env);
    EXPECT_EQ(env.HTTP_X_FORWARDED_FOR, told);
  }
}

TEST_F(GetEnvTest, KeepsTheEndOfALongListOfProxies) {
  setenv("HTTP_X_FORWARDED_FOR", (std::string(5000, '1') + ",192.0.2.1, 192.0.2.2").c_str(), 1);
  GetEnv(env);
  EXPECT_STREQ(env.HTTP_X_FORWARDED_FOR, "192.0.2.1, 192.0.2.2");
}

TEST_F(GetEnvTest, LeavesOutTheAddressThatWasCut) {
  // The last 1,023 characters begin within the first address, at "1.2.3.4".
  const std::string behind = "," + std::string(1023 - 8, ' ');
  setenv("HTTP_X_FORWARDED_FOR", ("21.2.3.4" + behind).c_str(), 1);
  GetEnv(env);
  EXPECT_EQ(env.HTTP_X_FORWARDED_FOR, behind.substr(1));
  setenv("HTTP_X_FORWARDED_FOR", std::string(5000, '1').c_str(), 1);
  GetEnv(env);
  EXPECT_STREQ(env.HTTP_X_FORWARDED_FOR, "");
}

TEST_F(GetEnvTest, TellsDateAndTimeOfOneMoment) {
  GetEnv(env);
  EXPECT_STREQ(env.current_date, "February 29, 2000 (Tuesday)");
  EXPECT_STREQ(env.current_time, "12:34:56");
}

TEST_F(GetEnvTest, TellsNothingOfAMomentWithoutADate) {
  SetCurrentTimeForTest(INT64_MAX);
  GetEnv(env);
  EXPECT_STREQ(env.current_date, "");
  EXPECT_STREQ(env.current_time, "");
}

TEST_F(GetEnvTest, TellsLocalTime) {
  setenv("TZ", "WEST+13", 1);
  tzset();
  GetEnv(env);
  EXPECT_STREQ(env.current_date, "February 28, 2000 (Monday)");
  EXPECT_STREQ(env.current_time, "23:34:56");
}
