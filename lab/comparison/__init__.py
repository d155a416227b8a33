"""Compares what orbis-host and the standard tools report about the guest's disks."""
