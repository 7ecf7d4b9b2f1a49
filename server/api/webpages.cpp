#include "api/webpages.h"

const std::string &WebPages::index() {
    static const std::string page = R"html(<!DOCTYPE html>
<html lang="zh-CN">
<head>
<meta charset="utf-8">
<meta name="viewport" content="width=device-width, initial-scale=1">
<title>Quillora 账号</title>
<style>
body { font-family: sans-serif; background: #f4f5f7; margin: 0; color: #222; }
main { max-width: 360px; margin: 48px auto; background: #fff; border-radius: 8px; padding: 24px 28px;
       box-shadow: 0 1px 4px rgba(0,0,0,.12); }
h1 { font-size: 20px; margin: 0 0 16px; }
label { display: block; margin: 12px 0 4px; font-size: 14px; }
input { width: 100%; box-sizing: border-box; padding: 8px; font-size: 15px; border: 1px solid #ccc; border-radius: 4px; }
button { margin-top: 20px; width: 100%; padding: 10px; font-size: 15px; border: 0; border-radius: 4px;
         background: #2f7cf6; color: #fff; cursor: pointer; }
button:disabled { background: #9bbcf3; }
.msg { margin-top: 14px; font-size: 14px; min-height: 1.2em; }
.error { color: #c62828; }
.done { color: #2e7d32; }
nav { margin-top: 18px; font-size: 13px; text-align: center; }
nav a { color: #2f7cf6; margin: 0 8px; }
section { display: none; }
section.active { display: block; }
</style>
</head>
<body>
<main>
<section id="register">
  <h1>注册账号</h1>
  <form id="register-form">
    <label for="r-name">用户名</label>
    <input id="r-name" autocomplete="username" maxlength="32" required>
    <label for="r-pass">密码</label>
    <input id="r-pass" type="password" autocomplete="new-password" required>
    <label for="r-pass2">确认密码</label>
    <input id="r-pass2" type="password" autocomplete="new-password" required>
    <button type="submit">注册</button>
    <div class="msg" id="r-msg"></div>
  </form>
</section>
<section id="reset">
  <h1>修改密码</h1>
  <form id="reset-form">
    <label for="s-name">用户名</label>
    <input id="s-name" autocomplete="username" maxlength="32" required>
    <label for="s-old">原密码</label>
    <input id="s-old" type="password" autocomplete="current-password" required>
    <label for="s-new">新密码</label>
    <input id="s-new" type="password" autocomplete="new-password" required>
    <label for="s-new2">确认新密码</label>
    <input id="s-new2" type="password" autocomplete="new-password" required>
    <button type="submit">修改密码</button>
    <div class="msg" id="s-msg"></div>
  </form>
</section>
<nav><a href="#/mobile_register">注册账号</a><a href="#/mobile_reset">修改密码</a></nav>
</main>
<script>
function show() {
  var reset = location.hash === '#/mobile_reset';
  document.getElementById('register').className = reset ? '' : 'active';
  document.getElementById('reset').className = reset ? 'active' : '';
}
window.addEventListener('hashchange', show);
show();

function say(id, text, good) {
  var el = document.getElementById(id);
  el.textContent = text;
  el.className = 'msg ' + (good ? 'done' : 'error');
}

function submit(form, path, fields, msgId, doneText) {
  var button = form.querySelector('button');
  button.disabled = true;
  fetch(path, { method: 'POST', body: new URLSearchParams(fields) })
    .then(function (r) { return r.json(); })
    .then(function (j) {
      if (j.state === 1) { say(msgId, doneText, true); form.reset(); }
      else say(msgId, j.msg || '操作失败', false);
    })
    .catch(function () { say(msgId, '网络连接失败，请稍后再试', false); })
    .then(function () { button.disabled = false; });
}

document.getElementById('register-form').addEventListener('submit', function (e) {
  e.preventDefault();
  var name = document.getElementById('r-name').value.trim();
  var pass = document.getElementById('r-pass').value;
  if (pass !== document.getElementById('r-pass2').value) { say('r-msg', '两次输入的密码不一致', false); return; }
  if (pass.length < 6) { say('r-msg', '密码至少需要6个字符', false); return; }
  submit(this, '/api/web/register', { username: name, password: pass }, 'r-msg', '注册成功，请回到程序登录');
});

document.getElementById('reset-form').addEventListener('submit', function (e) {
  e.preventDefault();
  var pass = document.getElementById('s-new').value;
  if (pass !== document.getElementById('s-new2').value) { say('s-msg', '两次输入的新密码不一致', false); return; }
  if (pass.length < 6) { say('s-msg', '新密码至少需要6个字符', false); return; }
  submit(this, '/api/web/reset', {
    username: document.getElementById('s-name').value.trim(),
    oldPassword: document.getElementById('s-old').value,
    newPassword: pass
  }, 's-msg', '密码已修改，请用新密码重新登录');
});
</script>
</body>
</html>
)html";
    return page;
}
