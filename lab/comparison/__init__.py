"""What orbis-host said of the guest's disks, held against what the field's own tools said of the same disks."""
