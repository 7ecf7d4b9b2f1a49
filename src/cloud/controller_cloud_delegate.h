#pragma once

// Told when a full synchronisation starts and when it is over.
class controller_cloud_delegate {
public:
    virtual ~controller_cloud_delegate() = default;
    virtual void onCloudStart() = 0;
    virtual void onCloudStop() = 0;
};
