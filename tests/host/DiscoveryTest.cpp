// Discovery by the shipped library: its results for single files, for a second start-up, and for requests while it
// runs.

#include <gtest/gtest.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "CVT/TEvent.h"
#include "tests/host/MadeUpCalls.h"
#include "tests/host/WalkText.h"
#include "tests/support/HostTree.h"
#include "tests/support/MadeUpHostTest.h"
#include "tests/support/Walk.h"

namespace {

using namespace std::string_literals;

constexpr int kDeviceTable = 3;

class DeviceDiscovery : public MadeUpHostTest {
protected:
    void TearDown() override {
        MadeUpHostTest::TearDown();
        MadeUpCalls::Instance().active = false;
    }

    void LayHost(const std::string& name) {
        m_tree = std::make_unique<HostTree>(*m_host, HostFolder(name));
        MadeUpCalls::Instance().Read(HostFolder(name) + "/figures");
    }
    /// A host that has no devices, and commands that print nothing.
    void LayBlankHost() {
        const std::string folder = m_host->Directory() + "/blank";
        std::filesystem::create_directories(folder + "/commands");
        std::ofstream(folder + "/commands/mount").close();
        m_tree = std::make_unique<HostTree>(*m_host, folder);
        MadeUpCalls::Instance().Read(folder + "/figures");
    }
    static void WriteFile(const std::string& path, const std::string& content) {
        std::filesystem::create_directories(std::filesystem::path(path).parent_path());
        std::ofstream(path, std::ios::binary) << content;
    }
    /// The descriptions of the devices, in index order.
    std::vector<std::string> Devices() {
        std::vector<std::string> devices;
        for (const CVT::BVarBind& varBind : Walk(m_engine, "1.3.6.1.2.1.25.3.2.1.3")) {
            devices.emplace_back(varBind.octets.View());
        }
        return devices;
    }
    using Descriptions = std::vector<std::string>;

    std::unique_ptr<HostTree> m_tree;
};

TEST_F(DeviceDiscovery, UsesTheTextItHasForAProcessorWhoseBlockIsTruncated) {
    LayBlankHost();
    WriteFile("/proc/cpuinfo", "processor\t: 0\nvendor_id\t: a\ncpu family\t: 6\n");
    StartUp();
    EXPECT_EQ(Devices(), Descriptions{" #1"}) << "no text at first";
}

TEST_F(DeviceDiscovery, UsesTheTextOfThePreviousProcessorWhenABlockIsTruncated) {
    LayBlankHost();
    const std::string block = "processor\t: 0\nvendor_id\t: a\ncpu family\t: 6\nmodel\t\t: 1\nmodel name\t: Fast\n";
    WriteFile("/proc/cpuinfo", block + block.substr(0, block.size() - 1));
    StartUp();
    EXPECT_EQ(Devices(), (Descriptions{" Fast #1", " Fast #2"}));
}

TEST_F(DeviceDiscovery, TakesTheFifthLineOfABlockAsTheModelWhateverItSays) {
    LayBlankHost();
    WriteFile("/proc/cpuinfo",
              "Processor\t: ARMv7 Processor rev 2 (v7l)\n"
              "processor\t: 0\nBogoMIPS\t: 795.44\n\nprocessor\t: 1\nBogoMIPS\t: 795.44\n\n"
              "processor with more behind its name\n1\n2\n3\nx\n");
    StartUp();
    EXPECT_EQ(Devices()[0], "ARMv7 Processor rev 2 (v7l) #1");
    EXPECT_EQ(Devices()[1], "95.44 #2");
    EXPECT_EQ(Devices().size(), 3U) << "the second processor was inside the block of the first";
}

TEST_F(DeviceDiscovery, UsesNoEarlierLineForAProcessorWhoseModelLineIsShort) {
    LayBlankHost();
    const std::string head = "vendor_id\t: GenuineVendorOfOld\ncpu family\t: 6\nmodel\t\t: 158 and a long tail\n";
    WriteFile("/proc/cpuinfo", "processor\t: 0\n" + head + "x\n" +  //
                                   "processor\t: 1\n" + head + "model name\t: Fast\n" + "processor\t: 2\n" + head +
                                   "model name\t\n" +  // 12 octets, the line feed the last
                                   "processor\t: 3\n" + head + "model name\t:\n" + "Processor\n");
    StartUp();
    EXPECT_EQ(Devices(), (Descriptions{" #1", " Fast #2", " Fast #3", " #4", " #5"}));
}

TEST_F(DeviceDiscovery, CountsProcessorsThatAlreadyHaveARow) {
    LayBlankHost();
    WriteFile("/proc/cpuinfo", "Processor\t: A\nProcessor\t: A\nprocess : B\n Processor: C\n");
    StartUp();
    EXPECT_EQ(Devices(), (Descriptions{"A #1", "A #2"}));
}

TEST_F(DeviceDiscovery, SkipsAPrinterNamedLikeAnInterface) {
    LayBlankHost();
    WriteFile("/proc/net/dev", "lo: 1\n");
    WriteFile("/etc/printcap", "lo:rm=server:\n\t:continued:\nlp:\n");
    StartUp();
    EXPECT_EQ(Devices(), (Descriptions{"lo", "lp"}));
    EXPECT_EQ(Get(m_engine, "1.3.6.1.2.1.25.3.5.1.1.2").integer, 2);
    EXPECT_EQ(Get(m_engine, "1.3.6.1.2.1.25.3.5.1.1.1").type, CVT::kNoSuchInstance);
}

TEST_F(DeviceDiscovery, StopsLookingForParallelPortsAtTheFirstGap) {
    LayBlankHost();
    WriteFile("/proc/ioports", "0378-037a : parport0\n0278-027a : parport2\n");
    StartUp();
    EXPECT_EQ(Devices(), Descriptions{"parport0"});
}

TEST_F(DeviceDiscovery, FindsEightParallelPorts) {
    LayBlankHost();
    WriteFile("/proc/ioports", "parport7 parport6 parport5 parport4 parport3 parport2 parport1 parport0 parport8\n");
    StartUp();
    EXPECT_EQ(Devices().size(), 8U);
    EXPECT_EQ(Devices().back(), "parport7");
}

TEST_F(DeviceDiscovery, SearchesTheKernelLogForSerialPortsOnlyWhenTheDirectoryHasNone) {
    LayBlankHost();
    std::filesystem::create_directory("/dev/cua");
    m_tree->Command("dmesg", "ttyS0 at 0x03f8 (irq = 4) is a 16550A\n");
    StartUp();
    EXPECT_EQ(Devices(), Descriptions{"ttyS0 at 0x03f8 (irq = 4) is a 16550A"}) << "an empty directory";
}

TEST_F(DeviceDiscovery, CountsASerialPortWithoutANumberAlthoughItHasNoRow) {
    LayBlankHost();
    WriteFile("/dev/cua/modem", "");
    m_tree->Command("dmesg", "ttyS0 at 0x03f8 (irq = 4) is a 16550A\n");
    StartUp();
    EXPECT_EQ(Devices(), Descriptions{});
}

TEST_F(DeviceDiscovery, ContinuesWhenTheCommandsFail) {
    LayBlankHost();
    WriteFile("/proc/cpuinfo", "Processor\t: A\n");
    WriteFile("/proc/ioports", "parport0\n");
    std::filesystem::remove(m_host->Directory() + "/commands/mount.says");
    std::filesystem::remove(m_host->Directory() + "/commands/dmesg.says");
    StartUp();
    EXPECT_EQ(Devices(), (Descriptions{"A #1", "parport0"}));
}

TEST_F(DeviceDiscovery, ContinuesWhenItsTemporaryFileNameIsInUse) {
    LayBlankHost();
    WriteFile("/proc/cpuinfo", "Processor\t: A\n");
    m_tree->Command("mount", "/dev/sda1 on / type ext4 (rw)\n");
    m_tree->Command("dmesg", "input: Mouse\n");
    const std::string name = "/tmp/CVHost." + std::to_string(::getpid());
    ASSERT_TRUE(std::filesystem::create_directory(name));
    StartUp();
    EXPECT_EQ(Devices(), Descriptions{"A #1"});
    EXPECT_TRUE(std::filesystem::remove(name)) << "what was there before stays";
}

TEST_F(DeviceDiscovery, RemovesTheTemporaryFileOfAnAgentThatWasKilled) {
    LayBlankHost();
    const std::string stale = "/tmp/CVHost.9000000";  // a number that no process has
    std::ofstream(stale) << "left behind\n";
    StartUp();
    EXPECT_FALSE(std::filesystem::exists(stale));
}

TEST_F(DeviceDiscovery, AddsOnlyNewDevicesAtASecondStartUpUnderTheNextIndexes) {
    LayHost("board");
    StartUp();
    const Descriptions before = Devices();
    ASSERT_EQ(before.size(), 8U);
    std::ofstream("/proc/net/dev", std::ios::app) << "  usb0: 1\n";
    m_tree->Command("mount", "/dev/mmcblk0p2 on / type ext4 (rw)\n/dev/sda1 on /media type vfat (rw)\n");

    m_module->Group().Cleanup();
    EXPECT_FALSE(m_module->Group().HandlerAt(kDeviceTable)->IsActive());
    EXPECT_EQ(Devices(), before) << "the rows stay";
    m_module->Group().Init();

    Descriptions after = before;
    after.insert(after.end(), {"usb0", "/dev/sda1"});
    EXPECT_EQ(Devices(), after);
    EXPECT_EQ(Get(m_engine, "1.3.6.1.2.1.25.3.4.1.1.9").integer, 4) << "the fourth interface";
    EXPECT_EQ(Get(m_engine, "1.3.6.1.2.1.25.3.6.1.2.10").integer, 8);
    EXPECT_EQ(Walk(m_engine, "1.3.6.1.2.1.25.3.3.1.2").size(), 2U);
}

TEST_F(DeviceDiscovery, ContinuesItsIndexesInANewModuleOfTheSameProcess) {
    LayHost("board");
    StartUp();
    m_engine.Remove(m_module->Group());
    m_module->Close();
    StartUp();
    const auto devices = Walk(m_engine, "1.3.6.1.2.1.25.3.2.1.1");
    ASSERT_EQ(devices.size(), 8U);
    EXPECT_EQ(devices.front().integer, 9);
    EXPECT_EQ(Get(m_engine, "1.3.6.1.2.1.25.3.4.1.1.11").integer, 4);
}

TEST_F(DeviceDiscovery, WaitsForADiskThatMustSpinUpButNotForAServer) {
    LayHost("board");
    m_tree->Command("mount", "/dev/sda1 on / type ext4 (rw)\n/dev/fuse on /boot type fuse.test (rw)\n");
    for (auto& [directory, space] : MadeUpCalls::Instance().spaces) {
        space.delay = std::chrono::milliseconds(1300);
    }
    StartUp();
    EXPECT_EQ(Get(m_engine, "1.3.6.1.2.1.25.3.6.1.4.6").integer, 3380224) << "of 2^22, wrapped";
    EXPECT_EQ(Get(m_engine, "1.3.6.1.2.1.25.3.6.1.4.7").integer, 0);
}

TEST_F(DeviceDiscovery, ReportsTheInitialLoadDeviceAsThePositionOfTheFirstDiskNotItsIndex) {
    LayHost("board");
    StartUp();
    const char* const initialLoadDevice = "1.3.6.1.2.1.25.1.3.0";
    EXPECT_EQ(Get(m_engine, initialLoadDevice).integer, 6);
    m_engine.Remove(m_module->Group());
    m_module->Close();
    StartUp();
    EXPECT_EQ(Get(m_engine, "1.3.6.1.2.1.25.3.2.1.1.14").integer, 14) << "the disk";
    EXPECT_EQ(Get(m_engine, initialLoadDevice).integer, 6);
}

TEST_F(DeviceDiscovery, KnowsTheInitialLoadDeviceEvenWhileTheDeviceTableIsInUse) {
    LayHost("board");
    StartUp();
    CVT::TEvent held(true);
    CVT::TEvent letGo(true);
    std::thread holder([&] {
        const CVT::TMutex::Guard guard(m_module->Group().HandlerAt(kDeviceTable)->RequestLock());
        held.Set();
        letGo.Wait(CVT::kWaitForever);
    });
    held.Wait(CVT::kWaitForever);
    EXPECT_EQ(Get(m_engine, "1.3.6.1.2.1.25.1.3.0").integer, 6);
    letGo.Set();
    holder.join();
}

TEST_F(DeviceDiscovery, TakesTheLastDigitOfADeviceNameAsThePartition) {
    LayBlankHost();
    const std::string stem = "/dev/ide/host0/part";
    m_tree->Command("mount", stem + "10 on /mnt type ext3 (rw)\n");
    MadeUpCalls& calls = MadeUpCalls::Instance();
    calls.spaces["/mnt"] = {0xEF53, 1024, 100, {}};
    for (const unsigned int number : {1U, 2U, 10U, 11U, 12U}) {
        calls.nodes[stem + std::to_string(number)] = makedev(3, number);
    }
    StartUp();
    const std::vector<CVT::BVarBind> labels = Walk(m_engine, "1.3.6.1.2.1.25.3.7.1.2");
    ASSERT_EQ(labels.size(), 2U) << "part10 has no row";
    EXPECT_STREQ(labels[0].name.ToString().c_str(), "1.3.6.1.2.1.25.3.7.1.2.1.1");
    EXPECT_EQ(labels[0].octets.View(), stem + "11");
    EXPECT_STREQ(labels[1].name.ToString().c_str(), "1.3.6.1.2.1.25.3.7.1.2.1.2");
    EXPECT_EQ(labels[1].octets.View(), stem + "12");
}

TEST_F(DeviceDiscovery, DeterminesTheFileSystemTypeFromTheLowThirtyTwoBitsOfTheMagicNumber) {
    LayBlankHost();
    const std::vector<std::pair<unsigned long, int>> types = {{0xADFF, 16},
                                                              {0x00011954, 3},
                                                              {0x012FF7B3, 1},
                                                              {0x012FF7B4, 4},
                                                              {0x012FF7B5, 4},
                                                              {0x012FF7B6, 4},
                                                              {0x012FF7B7, 4},
                                                              {0x012FF7B8, 1},
                                                              {0xEF51, 23},
                                                              {0xEF53, 23},
                                                              {0x4D44, 5},
                                                              {0x6969, 14},
                                                              {0x9660, 12},
                                                              {0, 2},
                                                              {0xEF52, 1},
                                                              {0xF995E849, 6},
                                                              {0xFFFFFFFFF995E849, 6},
                                                              {0x100000000UL, 2},
                                                              {0x9123683E, 1},
                                                              {0x1F995E849, 6},
                                                              {0x7995E849UL, 1}};
    std::string mounts;
    for (std::size_t i = 0; i < types.size(); ++i) {
        const std::string number = std::to_string(i);
        mounts.append("/dev/sr").append(number).append(" on /cd").append(number).append(" type iso9660 (ro)\n");
        MadeUpCalls::Instance().spaces["/cd" + number] = {types[i].first, 2048, 1};
    }
    m_tree->Command("mount", mounts);
    StartUp();
    const auto served = Walk(m_engine, "1.3.6.1.2.1.25.3.8.1.4");
    ASSERT_EQ(served.size(), types.size());
    for (std::size_t i = 0; i < types.size(); ++i) {
        EXPECT_EQ(served[i].identifier.ToString(),
                  CVT::BString(("1.3.6.1.2.1.25.3.9." + std::to_string(types[i].second)).c_str()))
            << std::hex << types[i].first;
    }
}

TEST_F(DeviceDiscovery, FindsNoStorageForAMountDirectoryThatTheListingCutsAtABlank) {
    LayBlankHost();
    m_tree->Command("mount", "/dev/fd0 on /mnt/my disk type vfat (rw)\n/dev/fd1 on /mnt/other type vfat (rw)\n");
    WriteFile("/etc/mtab", "/dev/fd0 /mnt/my\\040disk vfat rw 0 0\n/dev/fd1 /mnt/other vfat rw 0 0\n");
    for (const char* const directory : {"/mnt/my", "/mnt/my disk", "/mnt/other"}) {
        MadeUpCalls::Instance().spaces[directory] = {0x4D44, 512, 1};
    }
    StartUp();
    EXPECT_EQ(Get(m_engine, "1.3.6.1.2.1.25.2.3.1.3.1").octets.View(), "/mnt/my disk");
    EXPECT_EQ(Get(m_engine, "1.3.6.1.2.1.25.3.8.1.2.1").octets.View(), "/mnt/my");
    EXPECT_EQ(Get(m_engine, "1.3.6.1.2.1.25.3.8.1.7.1").integer, 0);
    EXPECT_EQ(Get(m_engine, "1.3.6.1.2.1.25.3.8.1.7.2").integer, 2);
}

TEST_F(DeviceDiscovery, HasNoInstanceUnderTheIndexOfAnotherKindOfDevice) {
    LayHost("board");
    StartUp();
    for (const char* const absent :
         {"6.1.1.1", "6.1.4.3", "3.1.2.3", "4.1.1.6", "5.1.1.1", "7.1.1.6", "2.1.3.9", "2.1.3.1.1"}) {
        EXPECT_EQ(Get(m_engine, "1.3.6.1.2.1.25.3."s + absent).type, CVT::kNoSuchInstance) << absent;
    }
}

/// Reads one group again and again, on a thread of its own.
class Asker {
public:
    explicit Asker(CVT::BMibImpl& group)
        : m_thread([this, &group] {
              while (!m_end) {
                  CVT::BVarBind varBind;
                  varBind.name = group.Oid();
                  group.GetNext(CVT::BRequest().Id(), varBind);
                  ++m_answers;
                  std::this_thread::yield();
              }
          }) {}
    Asker(const Asker&) = delete;
    Asker& operator=(const Asker&) = delete;
    ~Asker() {
        m_end = true;
        m_thread.join();
    }
    int Answers() const { return m_answers; }

private:
    std::atomic<bool> m_end = false;
    std::atomic<int> m_answers = 0;
    std::thread m_thread;
};

TEST_F(DeviceDiscovery, ReportsTheInitialLoadDeviceEventuallyUnderConstantRequests) {
    LayHost("board");
    Start();
    const Asker other(*m_module->Group().HandlerAt(kDeviceTable));
    CVT::BVarBind device;
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(30);
    do {
        ASSERT_LT(std::chrono::steady_clock::now(), deadline);
        device.name.AssignFromDottedDecimalStr("1.3.6.1.2.1.25.1.3.0");
        EXPECT_EQ(m_module->Group().HandlerAt(0)->Get(CVT::BRequest().Id(), device), CVT::noError);
    } while (device.integer == -1);
    EXPECT_EQ(device.integer, 6) << "never a position in an incomplete table";
}

TEST_F(DeviceDiscovery, DoesNotBlockRequestsToTheOtherTablesWhileItRuns) {
    LayHost("disks");
    const std::string mounts = HostFolder("disks") + "/commands/mount";
    std::string lines((std::istreambuf_iterator<char>(std::ifstream(mounts).rdbuf())), {});
    m_tree->Command("mount", lines, "0.3");  // a dozen listings
    Start();
    CVT::BMibImpl& devices = *m_module->Group().HandlerAt(kDeviceTable);
    while (devices.RequestLock().Try()) {
        devices.RequestLock().Done();
        ASSERT_FALSE(devices.IsActive()) << "discovery was over before the test could see it";
        CVT::TTimer().Sleep(1);
    }
    CVT::BVarBind initialLoad;
    initialLoad.name.AssignFromDottedDecimalStr("1.3.6.1.2.1.25.1.3.0");
    EXPECT_EQ(m_module->Group().HandlerAt(0)->Get(CVT::BRequest().Id(), initialLoad), CVT::noError);
    EXPECT_EQ(initialLoad.integer, -1) << "unknown while discovery runs";
    EXPECT_FALSE(devices.IsActive()) << "and the request does not wait";
    {
        std::vector<std::unique_ptr<Asker>> askers;
        for (const int place : {0, 1, 2, 4, 5, 6, 7, 8, 9, 10}) {
            askers.push_back(std::make_unique<Asker>(*m_module->Group().HandlerAt(place)));
        }
        CVT::TTimer().Sleep(1500);
        EXPECT_FALSE(devices.IsActive()) << "it still runs";
        for (const std::unique_ptr<Asker>& asker : askers) {
            EXPECT_GT(asker->Answers(), 3);
        }
        CVT::BVarBind first;
        first.name = devices.Oid();
        EXPECT_EQ(devices.GetNext(CVT::BRequest().Id(), first), CVT::noError);
        EXPECT_TRUE(devices.IsActive()) << "a request to its own table waits for it";
    }
    ASSERT_TRUE(m_module->WaitUntilActive());
    ASSERT_TRUE(m_engine.Add(m_module->Group()));
    EXPECT_GT(Get(m_engine, "1.3.6.1.2.1.25.1.3.0").integer, 0) << "the unknown value is not kept";
    EXPECT_EQ(Devices().size(), 9U);
    EXPECT_EQ(Walk(m_engine, "1.3.6.1.2.1.25.3.8.1.1").size(), 3U);
}

}  // namespace
