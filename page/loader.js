// Unpacks the page's script and its module, which lie in the page as text, and starts the script. The
// content policy knows the script by its hash. Written so that a browser of any age understands it.
(function () {
  function tooOld() {
    document.getElementById("message").textContent =
      "This browser is too old for the page; one of 2023 or later runs it.";
  }
  function unpacked(id) {
    var letters = atob(document.getElementById(id).textContent);
    var bytes = new Uint8Array(letters.length);
    for (var i = 0; i < letters.length; ++i) bytes[i] = letters.charCodeAt(i);
    return new Response(new Blob([bytes]).stream().pipeThrough(new DecompressionStream("deflate"))).arrayBuffer();
  }
  try {
    Promise.all([unpacked("packed-script"), unpacked("packed-module")]).then(function (parts) {
      return WebAssembly.compile(parts[1]).then(function (module) {
        var script = document.createElement("script");
        script.id = "script";
        script.textContent = new TextDecoder().decode(parts[0]);
        window.zoltModule = module;
        document.body.append(script);
      });
    }).catch(tooOld);
  } catch (fault) {
    tooOld();
  }
})();
