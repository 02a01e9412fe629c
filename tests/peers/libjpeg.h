// libjpeg as a second opinion: files of its making, and what it reads in a file.
#ifndef UVEK_TESTS_PEERS_LIBJPEG_H
#define UVEK_TESTS_PEERS_LIBJPEG_H

#include <cstdint>
#include <string>
#include <vector>

#include "codec/jpeg.h"

namespace uvek::test {

struct PeerOptions {
    int quality = 75;
    int h = 2, v = 2;          // sampling factors of luma
    bool progressive = false;
    bool optimize = false;
    int restart = 0;           // MCUs
    bool grey = false;
    bool baselineTables = false;  // limit quantisation steps to a byte
};

codec::Bytes EncodeByPeer(const codec::Image& image, const PeerOptions& options);

struct PeerReading {
    codec::Image image;                            // as decoded by its accurate integer DCT
    std::vector<codec::Coefficients> coefficients;  // blocks in use, without those that only fill MCUs
    long warnings = 0;
};

PeerReading ReadByPeer(const codec::Bytes& file);

}  // namespace uvek::test

#endif
