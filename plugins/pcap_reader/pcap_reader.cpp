#include "plugins/pcap_reader/pcap_recording.hpp"
#include "plugins/pcap_reader/pcapng_recording.hpp"

QOR_RECORDING_READER(tavi::pcap::pcap_recording, tavi::pcap::pcapng_recording)
