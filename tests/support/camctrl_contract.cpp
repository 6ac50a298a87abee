#include "camctrl_contract.h"

#include <ostream>

#include "operation.h"

void PrintTo(const CamctrlContract& row, std::ostream* out) { *out << row.name; }

namespace {

constexpr auto kSet = CamctrlContract::kSet;
constexpr auto kGet = CamctrlContract::kGet;

constexpr char kAwbLegend1[] = "0-AUTO,1-INCANDESCENT,3-SUNSET";
constexpr char kAwbLegend2[] = "4-SUNNY,5-CLOUDY,7-FLUORESCENT,99-LOCK";

}  // namespace

const std::vector<CamctrlContract>& camctrl_contract() {
  static const std::vector<CamctrlContract> rows{
      {"RecordStart", 1, {}, 4, {}, kSet, {}, {}, {}},
      {"RecordStop", 2, {}, 5, {}, kSet, {}, {}, {}},
      {"TakePhoto", 3, {}, 3, {}, kSet, {}, {}, {}},
      {"StopPhoto", 4, {}, 66, {}, kSet, {}, {}, {}},
      {"SetCameraMode",
       7,
       {2},
       2,
       {2},
       kSet,
       {},
       {},
       {"[process_camera_functions_and_reply][LINE]:camera_mode = 2"}},
      {"SetVideo",
       8,
       {0x0F, 0x00, 0x08, 0x70, 30, 1, 2, 3, 4},
       16,
       {0x00, 0x0F, 0x70, 0x08, 30, 0xFF, 0xFF, 0xFF, 0xFF},
       kSet,
       {},
       {},
       {"video_resolution_h(3840);video_resolution_v(2160);video_framerate(30)"}},
      {"SetPhotoFormat",
       10,
       {131},
       26,
       {131},
       kSet,
       {},
       {},
       {"image_format = 131(1:jpg,131:jpg+dng)"}},
      {"SetPhotoMode",
       11,
       {0x01, 0x02, 0xFF, 0x03, 0x00, 0x01, 0x86, 0xA0, 0x04},
       51,
       {4, 0x02, 0x01, 0xFF, 3, 0xA0, 0x86, 0x01, 0x00, 0, 0},
       kSet,
       {},
       {},
       {"0--SINGLE,3--BURST,4--AEB,5--PANO_HORIZON,6--PANO_HEMISPHERE",
        "capture_mode(4);photo_amount(258);ev_step(-1/3);interval_ms(100000)"}},
      {"SetAeMode", 14, {1}, 8, {1}, kSet, {}, {}, {"aemode=1(0--auto;1--manual)"}},
      {"SetEv", 15, {0x34, 0x12}, 10, {0x34, 0x12}, kSet, {}, {}, {"cam_ev(1234)"}},
      {"SetShutter",
       16,
       {0x07, 0x00, 0x55, 0x66},
       59,
       {0x07, 0x00},
       kSet,
       {},
       {},
       {"set cam_shutter(07)"}},
      {"SetIso",
       17,
       {0x00, 0x01, 0x90, 0x00},
       60,
       {0x00, 0x90},
       kSet,
       {},
       {},
       {"set cam_iso(102400)"}},
      {"SetShutterIso",
       18,
       {0x00, 0x01, 0x01, 0xF4, 0x00, 0x01, 0x90, 0x00},
       12,
       {0, 0x01, 0x00, 0xF4, 0x01, 0x00, 0x90, 0x01, 0x00},
       kSet,
       {},
       {},
       {"shutter(1/500);ISO(102400)"}},
      {"SetMeterMode",
       19,
       {2},
       18,
       {2},
       kSet,
       {},
       {},
       {"meter_mode = 2(0x00->Center,0x01->Average,0x02->Spot)"}},
      {"SetFlickerMode",
       20,
       {1},
       20,
       {1},
       kSet,
       {},
       {},
       {"flicker_mode = 1(0x00->Auto,0x01->60Hz,0x02->50Hz)"}},
      {"SetAwbMode", 21, {99}, 14, {99}, kSet, {}, {}, {"awb_mode = 99", kAwbLegend1, kAwbLegend2}},
      {"SetIqType",
       22,
       {3},
       22,
       {3},
       kSet,
       {},
       {},
       {"iq_type=3(0x00->nature,0x01->saturation,0x02->raw,0x03->night)"}},
      {"GetVersion",
       23,
       {},
       31,
       {},
       kGet,
       joined(bytes_of_text("K720CAMX", 8), {0x12, 0xF3, 0x2F, 'b'}),
       joined(bytes_of_text("K720CAM", 8), {2, 3, 15, 'b', 0, 0, 0, 0, 0, 0, 0, 0}),
       {"camera version:K720CAM_2.3.15_b"}},
      {"SetTime",
       24,
       {0x5A, 0x43, 0xCF, 0xF4},
       32,
       {0xF4, 0xCF, 0x43, 0x5A, 0, 0, 0, 0},
       kSet,
       {},
       {},
       {"SET_TIME: 1514393588(UTC Wed Dec 27 16:53:08 2017", ")"}},
      {"FormatSdcard", 25, {1}, 27, {0}, kSet, {}, {}, {}},
      {"ResetSettings", 26, {}, 28, {}, kSet, {}, {}, {}},
      {"SetDroneName",
       29,
       bytes_of_text("my drone", 20),
       54,
       bytes_of_text("my drone", 20),
       kSet,
       {},
       {},
       {"set ssid = my drone"}},
      {"SetDronePassword",
       31,
       bytes_of_text("12345678", 20),
       44,
       bytes_of_text("12345678", 21),
       kSet,
       {},
       {},
       {"set password = 12345678"}},
      {"RebootDevice", 33, {}, 45, {}, kSet, {}, {}, {}},
      {"SetSpotMeteringCoords",
       36,
       {40, 60},
       37,
       {40, 60},
       kSet,
       {},
       {},
       {"set x_ratio = 40;y_ratio = 60"}},
      {"SetManualWb", 37, {55}, 58, {55}, kSet, {}, {}, {"set manual_wb_type = 55"}},
      {"SetSystemMode", 40, {1}, 41, {1}, kSet, {}, {}, {"set system mode = 1"}},
      {"GetSystemMode", 41, {}, 40, {}, kGet, {1}, {1}, {"get system mode = 1"}},
      {"SetVideoEncodeMode", 45, {3}, 43, {3}, kSet, {}, {}, {"set video_encode_mode = 3"}},
      {"SetPhotoRatio", 46, {2}, 47, {2}, kSet, {}, {}, {"set photo_ratio = 2"}},
      {"SetFileType", 50, {1}, 49, {1}, kSet, {}, {}, {"set file_format = 1"}},
      {"GetSpotMeteringCoords",
       71,
       {},
       36,
       {},
       kGet,
       {25, 75},
       {25, 75},
       {"get x_ratio = 25;y_ratio = 75"}},
      {"SetPhotoQuality",
       251,
       {3},
       24,
       {3},
       kSet,
       {},
       {},
       {"photo_quality = 3(0x00->low,0x01->medium,0x02->high,0x03->ultra_high)"}},
      {"GetAwbMode",
       4114,
       {},
       13,
       {},
       kGet,
       {100},
       {100},
       {"get awb_mode = 100", kAwbLegend1, kAwbLegend2}},
      {"GetVideo",
       4116,
       {},
       15,
       {},
       kGet,
       {0x80, 0x07, 0x38, 0x04, 60},
       {0x07, 0x80, 0x04, 0x38, 60, 0, 0, 0, 0},
       {"video_resolution_h(1920);video_resolution_v(1080);video_framerate(60)"}},
      {"GetIqType",
       4120,
       {},
       21,
       {},
       kGet,
       {2},
       {2},
       {"get iq_type=2", "(0x00->nature,0x01->saturation,0x02->raw,0x03->night)"}},
      {"GetCameraMode", 4121, {}, 1, {}, kGet, {1}, {1}, {"camera_mode = 1(1-video;2-photo)"}},
      {"GetVideoEncodeMode", 4123, {}, 42, {}, kGet, {3}, {3}, {"get video_encode_mode = 3"}},
      {"GetPhotoRatio", 4124, {}, 46, {}, kGet, {1}, {1}, {"get photo_ratio = 1"}},
  };
  return rows;
}

const std::string& client_usage() {
  static const std::string usage =
      "Valid Usage:\n"
      "\"getcammode\"\n"
      "\"setcammode video|v|photo|p\"\n"
      "\"shutter\"\n"
      "\"record start|stop\"\n"
      "\"getvideo\"\n"
      "\"setvideo [video_h] [video_v] [video_f]\"\n"
      "\"getver\"\n"
      "\"settime [year] [month] [day] [hour] [minute] [second]\"\n"
      "\"such as:2017 12 27 16 53 8\"\n"
      "\"setphotoformat jpg|jpg+dng\"\n"
      "\"setphotomode single|burst [pcs]|\"\n"
      "\"aeb [pcs] [ev_num] [ev_dem]|panohorizon|panohemisphere\"\n"
      "\"setphotoquality low|medium|high|ultra_high\"\n"
      "\"setae auto|manual\"\n"
      "\"setev [ev_num] [ev_dem]\"\n"
      "\"setshutter [shutter_num] [shutter_dem]\"\n"
      "\"setiso [iso]\"\n"
      "\"setshutteriso [shutter_num] [shutter_dem] [ISO]\"\n"
      "\"setmetermode center|average|spot\"\n"
      "\"setspotmetercoords [x_ratio] [y_ratio]\"\n"
      "\"setflickermode auto|60Hz|50Hz\"\n"
      "\"getwb\"\n"
      "\"setwb auto|incandescent|sunrise|sunset|sunny|\"\n"
      "\"cloudy|fluorescent|lock|manual\"\n"
      "\"setmanwb [30,80]\"\n"
      "\"getiq\"\n"
      "\"setiq nature|saturation|raw|night\"\n"
      "\"formatsd\"\n"
      "\"resetcamera\"\n"
      "\"rebootcamera\"\n"
      "\"getsystemmode\"\n"
      "\"setsystemmode NTSC|PAL\"\n"
      "\"getencodemode\"\n"
      "\"setencodemode H264|H265\"\n"
      "\"getphotoratio\"\n"
      "\"setphotoratio 3:2|4:3|16:9\"\n"
      "\"setfiletype MP4|MOV\"\n";
  return usage;
}

const std::vector<ClientRequest>& client_requests() {
  static const std::vector<ClientRequest> rows{
      {{"shutter"}, 3, {}},
      {{"record", "start"}, 1, {}},
      {{"record", "stop"}, 2, {}},
      {{"getcammode"}, 4121, {}},
      {{"setcammode", "video"}, 7, {1}},
      {{"setcammode", "v"}, 7, {1}},
      {{"setcammode", "photo"}, 7, {2}},
      {{"setcammode", "p"}, 7, {2}},
      {{"getvideo"}, 4116, {}},
      {{"setvideo", "3840", "2160", "30"}, 8, {0x0F, 0x00, 0x08, 0x70, 30, 0, 0, 0, 0}},
      {{"getver"}, 23, {}},
      {{"setphotoformat", "jpg"}, 10, {1}},
      {{"setphotoformat", "jpg+dng"}, 10, {131}},
      {{"setphotomode", "single"}, 11, {0, 0, 0, 0, 0, 0, 0, 0, 0}},
      {{"setphotomode", "burst", "300"}, 11, {0x01, 0x2C, 0, 0, 0, 0, 0, 0, 3}},
      {{"setphotomode", "aeb", "5", "-1", "3"}, 11, {0, 5, 0xFF, 3, 0, 0, 0, 0, 4}},
      {{"setphotomode", "panohorizon"}, 11, {0, 0, 0, 0, 0, 0, 0, 0, 5}},
      {{"setphotomode", "panohemisphere"}, 11, {0, 0, 0, 0, 0, 0, 0, 0, 6}},
      {{"setphotoquality", "low"}, 251, {0}},
      {{"setphotoquality", "medium"}, 251, {1}},
      {{"setphotoquality", "high"}, 251, {2}},
      {{"setphotoquality", "ultra_high"}, 251, {3}},
      {{"setae", "auto"}, 14, {0}},
      {{"setae", "manual"}, 14, {1}},
      {{"setev", "3"}, 15, {0x03, 0x00}},
      {{"setev", "-2"}, 15, {0xFE, 0xFF}},
      {{"setshutter", "1", "500"}, 16, {0x00, 0x01, 0x01, 0xF4}},
      {{"setiso", "102400"}, 17, {0x00, 0x01, 0x90, 0x00}},
      {{"setshutteriso", "1", "250", "800"}, 18, {0, 1, 0, 250, 0, 0, 0x03, 0x20}},
      {{"setmetermode", "center"}, 19, {0}},
      {{"setmetermode", "average"}, 19, {1}},
      {{"setmetermode", "spot"}, 19, {2}},
      {{"setspotmetercoords", "40", "60"}, 36, {40, 60}},
      {{"setflickermode", "auto"}, 20, {0}},
      {{"setflickermode", "60Hz"}, 20, {1}},
      {{"setflickermode", "50Hz"}, 20, {2}},
      {{"getwb"}, 4114, {}},
      {{"setwb", "auto"}, 21, {0}},
      {{"setwb", "incandescent"}, 21, {1}},
      {{"setwb", "sunrise"}, 21, {2}},
      {{"setwb", "sunset"}, 21, {3}},
      {{"setwb", "sunny"}, 21, {4}},
      {{"setwb", "cloudy"}, 21, {5}},
      {{"setwb", "fluorescent"}, 21, {7}},
      {{"setwb", "lock"}, 21, {99}},
      {{"setwb", "manual"}, 21, {100}},
      {{"setmanwb", "55"}, 37, {55}},
      {{"getiq"}, 4120, {}},
      {{"setiq", "nature"}, 22, {0}},
      {{"setiq", "saturation"}, 22, {1}},
      {{"setiq", "raw"}, 22, {2}},
      {{"setiq", "night"}, 22, {3}},
      {{"formatsd", "1"}, 25, {1}},
      {{"formatsd"}, 25, {0}},
      {{"resetcamera"}, 26, {}},
      {{"rebootcamera"}, 33, {}},
      {{"setsystemmode", "NTSC"}, 40, {0}},
      {{"setsystemmode", "PAL"}, 40, {1}},
      {{"getsystemmode"}, 41, {}},
      {{"setencodemode", "H264"}, 45, {1}},
      {{"setencodemode", "H265"}, 45, {3}},
      {{"getencodemode"}, 4123, {}},
      {{"setphotoratio", "3:2"}, 46, {1}},
      {{"setphotoratio", "4:3"}, 46, {2}},
      {{"setphotoratio", "16:9"}, 46, {3}},
      {{"getphotoratio"}, 4124, {}},
      {{"setfiletype", "MP4"}, 50, {1}},
      {{"setfiletype", "MOV"}, 50, {0}},
  };
  return rows;
}

const std::vector<ClientAnswer>& client_answers() {
  static const std::vector<ClientAnswer> rows{
      {{"getvideo"}, 4116, {0x0F, 0x00, 0x08, 0x70, 60, 0, 0, 0, 0}, "w--3840,h--2160,fps--60\n"},
      {{"getcammode"}, 4121, {1}, "CAMERA_MODE = 1(1--video,2--photo)\n"},
      {{"getiq"}, 4120, {3}, "Get iq = 3(0-nature,1-saturation,2-raw,3-night)\n"},
      {{"getencodemode"}, 4123, {3}, "video_encode_mode = 3(1--H264,3--H265)\n"},
      {{"getphotoratio"}, 4124, {2}, "photo_ratio = 2(1-->3:2;2-->4:3;3-->16:9)\n"},
      {{"getsystemmode"}, 41, {1}, "system mode = 1(0--NTSC,1--PAL)\n"},
      {{"getwb"},
       4114,
       {100},
       "Get wb = 100\n"
       "\"0-auto,1-incandescent,2-sunrise\"\n"
       "\"3-sunset,4-sunny,5-cloudy\"\n"
       "\"7-fluorescent,99-lock,100-manual\"\n"},
      {{"getver"},
       23,
       {'V', 'L', '-', '7', '2', '0', 0, 0, 1, 2, 15, 'b', 0, 0, 0, 0, 0, 0, 0, 0},
       "camera version:VL-720_1.2.15_b\n"},
      {{"getver"},
       23,
       {'F', 'U', 'L', 'L', 'N', 'A', 'M', 'E', 255, 0, 3, 'B', 'R', 'A', 'N', 'C', 1, 2, 3, 4},
       "camera version:FULLNAME_255.0.3_BRANC\n"},
      {{"shutter"}, 3, {}, ""},
      {{"setae", "auto"}, 14, {7, 8, 9}, ""},
  };
  return rows;
}
