// The unit double most tests stand on: its in-process shell commands must
// leave what the real ones leave, and its network must answer as a socket.
#include "tests/support/UnitDouble.h"

#include <arpa/inet.h>
#include <sys/socket.h>

#include <gtest/gtest.h>

#include <cerrno>
#include <filesystem>
#include <fstream>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "Utilities/OSSLinuxFactory.h"
#include "tests/support/Sandbox.h"

namespace {

namespace fs = std::filesystem;

// Every entry below Directory with its content ("<dir>" and "-> target"
// for directories and links).
std::map<std::string, std::string> Listing(const std::string& Directory)
{
    std::map<std::string, std::string> entries;
    for (const auto& entry : fs::recursive_directory_iterator(Directory)) {
        const std::string name = fs::relative(entry.path(), Directory).string();
        if (entry.is_symlink()) {
            entries[name] = "-> " + fs::read_symlink(entry.path()).string();
        } else if (entry.is_directory()) {
            entries[name] = "<dir>";
        } else {
            entries[name] = CSandbox::ReadFile(entry.path().string());
        }
    }
    return entries;
}

// The shell commands as records and tasks use them, on plain paths.
void RunCommands(IOSSFactory& Factory, const std::string& Unit)
{
    const std::string sub = Unit + "/a/sub";
    Factory.CreateFullPath(sub.c_str());
    Factory.CreateFullPath(sub.c_str());
    std::ofstream(sub + "/f") << "data";
    std::ofstream(sub + "/g.bin") << "other";
    Factory.CopyFile((sub + "/f").c_str(), (Unit + "/a").c_str(), COPY_AND_WAIT);
    Factory.CopyFile((sub + "/f").c_str(), (Unit + "/a/copied").c_str(), COPY_AND_WAIT);
    Factory.CopyFile((sub + "/g.bin").c_str(), (Unit + "/a/copied").c_str(), COPY_AND_WAIT);
    Factory.MoveFile((Unit + "/a/copied").c_str(), (Unit + "/a/moved").c_str());
    Factory.MoveFile((Unit + "/a/f").c_str(), sub.c_str());
    Factory.CreateSoftLink((Unit + "/a/moved").c_str(), (Unit + "/link").c_str());
    Factory.CreateFullPath((Unit + "/b/empty").c_str());
    Factory.CopyDirs((Unit + "/a").c_str(), (Unit + "/b").c_str());
    Factory.RemoveFiles((Unit + "/b/sub").c_str(), "*.bin");
    Factory.RemoveFiles((Unit + "/b").c_str(), "missing*");
    Factory.RemoveDirs((Unit + "/b/sub").c_str(), false);
    Factory.RemoveDirs((Unit + "/b/empty").c_str(), false);
    Factory.CreateFullPath((Unit + "/c/d").c_str());
    Factory.RemoveDirs((Unit + "/c").c_str(), true);
}

TEST(UnitDoubleTest, ShellCommandsInProcessLeaveWhatTheShellLeaves)
{
    CSandbox sandbox;
    COSSLinuxFactory real;
    CUnitDouble unit;
    // The shell says why rmdir kept a directory that is not empty.
    testing::internal::CaptureStderr();
    RunCommands(real, sandbox.MakeDir("real"));
    testing::internal::GetCapturedStderr();
    RunCommands(unit, sandbox.MakeDir("double"));
    // Links hold the path they were given; compare them relative to their unit.
    auto relative = [](std::map<std::string, std::string> Entries, const std::string& Unit) {
        for (auto& [name, content] : Entries) {
            if (content.rfind("-> " + Unit, 0) == 0) {
                content = "-> " + content.substr(3 + Unit.size());
            }
        }
        return Entries;
    };
    const auto expected = relative(Listing(sandbox / "real"), sandbox / "real");
    EXPECT_EQ(relative(Listing(sandbox / "double"), sandbox / "double"), expected);
    EXPECT_EQ(expected.at("b/sub/f"), "data");
    EXPECT_EQ(expected.count("b/empty"), 0u);
}

TEST(UnitDoubleTest, TheNetworkKeepsWhatIsSentAndHandsOutWhatTheTestQueued)
{
    CUnitDouble unit;
    const std::unique_ptr<IOSSNetwork> ten(unit.CreateNetwork(AF_INET, SOCK_DGRAM, 0, SYSTEM_ADDRESS_TEN_NET));
    const std::unique_ptr<IOSSNetwork> loopback(unit.CreateNetwork(AF_INET, SOCK_DGRAM, 0, SYSTEM_ADDRESS_LOOPBACK));
    AUINT32 address = 0;
    ASSERT_TRUE(ten->GetSystemIPAddress(&address));
    EXPECT_EQ(address, htonl(0x0A000002));
    ASSERT_TRUE(loopback->GetSystemIPAddress(&address));
    EXPECT_EQ(address, htonl(INADDR_LOOPBACK));
    EXPECT_NE(ten->GetSocket(), -1) << "the task would leave it undeleted";

    uint8_t bytes[4] = {1, 2, 3, 4};
    Buffer_Bytes_T out(bytes, sizeof(bytes));
    EXPECT_TRUE(ten->EnableTxMulticast());
    EXPECT_TRUE(ten->Send(&out, "224.0.0.64", 3201));
    ASSERT_EQ(unit.m_Net.Sent.size(), 1u);
    EXPECT_EQ(unit.m_Net.Sent[0].Address, "224.0.0.64");
    EXPECT_EQ(unit.m_Net.Sent[0].Port, 3201);
    EXPECT_EQ(unit.m_Net.Sent[0].Bytes, std::vector<uint8_t>(bytes, bytes + 4));

    // Queued datagrams come one per call, cut to the room; then EAGAIN.
    unit.m_Net.ToReceive = {{9, 8, 7}, {6}};
    uint8_t room[2] = {};
    Buffer_Bytes_T in(room, sizeof(room));
    EXPECT_TRUE(loopback->Receive(&in));
    EXPECT_EQ(in.size(), 2u);
    EXPECT_EQ(room[1], 8);
    in.size(sizeof(room));
    EXPECT_TRUE(loopback->Receive(&in));
    EXPECT_EQ(in.size(), 1u);
    in.size(sizeof(room));
    EXPECT_FALSE(loopback->Receive(&in));
    EXPECT_EQ(loopback->GetLastError(), EAGAIN);
    EXPECT_EQ(in.size(), 0u);

    // A unit without its interface, and a network that refuses everything.
    unit.m_Net.TenNetAddress = 0;
    EXPECT_FALSE(ten->GetSystemIPAddress(&address));
    EXPECT_EQ(address, 0u);
    unit.m_Net.Error = ENETDOWN;
    EXPECT_FALSE(ten->Send(&out, "224.0.0.64", 3201));
    EXPECT_EQ(ten->GetLastError(), ENETDOWN);
    EXPECT_FALSE(ten->Bind(3201));
    EXPECT_EQ(unit.m_Net.Sent.size(), 1u);
}

} // namespace
