#pragma once

// The short texts of refusals, as the desktop client and the web pages show them.
struct ReplyText {
    static constexpr const char *badParameter = "参数错误";
    static constexpr const char *badLogin = "用户名或密码错误";
    static constexpr const char *badOldPassword = "用户名或原密码错误";
    static constexpr const char *deadSession = "登录已失效，请重新登录";
    static constexpr const char *forbidden = "无权访问";
    static constexpr const char *readOnlyTeam = "没有修改团队词库的权限";
    static constexpr const char *noClass = "分类不存在";
    static constexpr const char *noPhrase = "话术不存在";
    static constexpr const char *noParent = "所属分类不存在";
    static constexpr const char *lastClass = "至少需要保留一个分类，不能删除全部分类";
    static constexpr const char *labelTooLong = "名称不能超过200个字";
    static constexpr const char *badContent = "话术内容格式错误";
    static constexpr const char *contentTooLarge = "话术内容过长（最多1MB）";
    static constexpr const char *badPictureName = "图片名称不合法";
    static constexpr const char *pictureFormat = "图片格式不支持，请使用 PNG/JPG/GIF/BMP";
    static constexpr const char *pictureMismatch = "图片内容与名称不符";
    static constexpr const char *pictureEmpty = "图片内容为空";
    static constexpr const char *pictureTaken = "同名图片已存在";
    static constexpr const char *noPicture = "图片不存在";
    static constexpr const char *bodyTooLarge = "请求内容过大";
    static constexpr const char *headerTooLarge = "请求头过大";
    static constexpr const char *noEndpoint = "接口不存在";
    static constexpr const char *busy = "服务器繁忙，请稍后再试";
    static constexpr const char *tooManyStreams = "连接过多，请稍后再试";
    static constexpr const char *tooManyLogins = "登录尝试过于频繁，请稍后再试";
    static constexpr const char *internal = "服务器内部错误，请稍后再试";
};
