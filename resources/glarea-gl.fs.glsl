#version 330

in vec2 UV;

uniform sampler2D myTextureSampler;

out vec4 outputColor;

// A preview word 0x00RRGGBB lies in memory as B, G, R, 0 and is uploaded as RGBA bytes.
void main()
{
    vec4 texel = texture(myTextureSampler, UV);
    outputColor = vec4(texel.b, texel.g, texel.r, 1.0);
}
