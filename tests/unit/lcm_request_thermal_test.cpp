// The thermal sensor's operations against every outcome.

#include "operation_matrix.h"

TEST(ThermalOperations, HandOutWhatTheCameraAnswers) {
  for_each(thermal_operations(), expect_success);
}

TEST(ThermalOperations, FailWhenTheCameraAnswersWithAnError) {
  for_each(thermal_operations(), expect_camera_error);
}

TEST(ThermalOperations, FailWhenTheCameraStaysSilent) {
  for_each(thermal_operations(), expect_time_out);
}

TEST(ThermalOperations, SendNothingWhileAnotherRequestIsPending) {
  for_each(thermal_operations(), expect_refusal_while_busy);
}
