#include <kalvo/foundation/KFile.h>

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include <kalvo/foundation/KArchive.h>
#include <kalvo/foundation/KException.h>

TEST(KFile, WholeFilesInAndOut) {
    const std::string dir = testing::TempDir() + "kfile";
    std::filesystem::create_directories(dir);
    const std::string path = dir + "/bytes.bin";
    // Longer than one read block, with zero bytes inside.
    std::string bytes(200000, '\0');
    for (size_t i = 0; i < bytes.size(); ++i) bytes[i] = static_cast<char>(i * 7);
    ASSERT_EQ(KFile::write(path.c_str(), bytes), KFile::OK);
    std::string back = "old";
    ASSERT_EQ(KFile::read(path.c_str(), back), KFile::OK);
    EXPECT_EQ(back, bytes);
    ASSERT_EQ(KFile::write(path.c_str(), ""), KFile::OK);
    ASSERT_EQ(KFile::read(path.c_str(), back), KFile::OK);
    EXPECT_TRUE(back.empty());

    EXPECT_EQ(KFile::read((dir + "/missing").c_str(), back), KFile::CANNOT_OPEN);
    EXPECT_EQ(KFile::read(dir.c_str(), back), KFile::CANNOT_TRANSFER);
    EXPECT_EQ(KFile::write((dir + "/no/such/dir").c_str(), bytes), KFile::CANNOT_OPEN);
    // The archive words its own messages.
    try {
        KArchive::fromFile((dir + "/missing").c_str());
        FAIL() << "a missing archive file";
    } catch (const KException& e) {
        EXPECT_EQ(std::string(e.getText().c_str()).rfind("Cannot open '" + dir + "/missing': ", 0),
                  0u)
            << e.getText().c_str();
    }
}
